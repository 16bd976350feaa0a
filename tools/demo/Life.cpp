#include "demo/Life.h"

#include "demo/Automation.h"
#include "demo/Report.h"
#include "demo/Stage.h"
#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "standin/Session.h"
#include "standin/step/StepFile.h"

#include <cstddef>
#include <filesystem>
#include <set>

extern const unsigned char holderData[];
extern const std::size_t holderSize;
extern const unsigned char holderChangedData[];
extern const std::size_t holderChangedSize;

namespace demo {
namespace {

constexpr unsigned char kBody = 6;
constexpr unsigned char kFace = 5;

//! Reads a part, or the embedded sample when no path is given.
standin::geom::Model readPart(const std::string& path, bool changed)
{
    if (!path.empty()) {
        return standin::step::readFile(path);
    }
    const unsigned char* data = changed ? holderChangedData : holderData;
    const std::size_t size = changed ? holderChangedSize : holderSize;
    return standin::step::readText(std::string(data, data + size),
                                   changed ? "holder-changed.step" : "holder.step");
}

//! Plays the steps and keeps what one hands to the next.
class Life
{
public:
    Life(const LifeOptions& options,
         const std::function<void(const std::string&, const std::string&, double)>& told)
        : mOptions(options),
          mTold(told)
    {}

    LifeReport play(const std::filesystem::path& folder);

private:
    void step(const std::string& name, const std::function<std::string()>& work);
    std::string open();
    void openParts(const standin::geom::Model& model);
    std::string remember();
    std::string measure();
    std::string chain();
    std::string save(const std::string& path);
    std::string drop();
    std::string readBack(const std::string& path);
    std::string bind();
    std::string compare();
    void compareObject(const std::string& name, ktmdl_Topo& topo);
    [[nodiscard]] std::set<ktmdl_Topo*> references();
    void forEachFace(const std::function<void(const std::string&, ktmdl_Topo&)>& work);

    const LifeOptions& mOptions;
    const std::function<void(const std::string&, const std::string&, double)>& mTold;
    LifeReport mReport;
    standin::Session mHost;
    std::vector<IDispatchPtr> mDocuments;
    ktmdl_TopoSeq mBodies;
};

void Life::step(const std::string& name, const std::function<std::string()>& work)
{
    std::string text;
    const double seconds = runStep(mHost, mReport.effort, name, [&] { text = work(); });
    if (mTold) {
        mTold(name, text, seconds);
    }
}

LifeReport Life::play(const std::filesystem::path& folder)
{
    mReport.part = mOptions.part.empty() ? "holder.step" : mOptions.part;
    mReport.changed = mOptions.changed;
    if (mOptions.part.empty()) {
        mReport.changed = "holder-changed.step";
    }
    const std::string archive = (folder / "references.ktm").u8string();
    step("open", [this] { return open(); });
    step("remember", [this] { return remember(); });
    step("measure", [this] { return measure(); });
    step("chain", [this] { return chain(); });
    step("save", [&] { return save(archive); });
    step("drop", [this] { return drop(); });
    step("read", [&] { return readBack(archive); });
    step("bind", [this] { return bind(); });
    step("compare", [this] { return compare(); });
    mBodies.Clear();
    return mReport;
}

//! Opens every part of a file as a document of its own. The same names as the time before make the
//! host take a part for the one that it had under that name.
void Life::openParts(const standin::geom::Model& model)
{
    std::vector<std::size_t> parts;
    for (std::size_t i = 0; i < model.products.size(); ++i) {
        if (!model.products[i].bodies.empty()) {
            parts.push_back(i);
        }
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        standin::OpenOptions options;
        options.product = parts[i];
        mDocuments.push_back(
            mHost.openPart(model, documentName(mReport.part, i, parts.size()), options));
    }
}

std::string Life::open()
{
    const standin::geom::Model model = readPart(mOptions.part, false);
    mReport.warnings = model.warnings;
    openParts(model);
    std::string text = fileName(mReport.part);
    if (mDocuments.size() != 1) {
        text += ", " + count(static_cast<long>(mDocuments.size()), "part", "parts");
    }
    return text;
}

std::string Life::remember()
{
    for (const IDispatchPtr& document : mDocuments) {
        for (const IDispatchPtr& model : items(objectProperty(document, L"Models"))) {
            const Hnd_ktmdl_Topo body = ktmdl_Topo::New(objectProperty(model, L"Body"));
            body->tplType = kBody;
            body->mDispDoc = document;
            body->BuildPersistentData();
            mBodies.Append(body);
        }
    }
    forEachFace([](const std::string&, ktmdl_Topo& face) { face.BuildPersistentData(); });

    const std::set<ktmdl_Topo*> all = references();
    mReport.bodies = mBodies.Length();
    for (const ktmdl_Topo* topo : all) {
        mReport.faces += topo->tplType == kFace ? 1 : 0;
    }
    mReport.references = static_cast<long>(all.size());
    mReport.edges = mReport.references - mReport.bodies - mReport.faces;
    return count(mReport.bodies, "body", "bodies") + ", " + count(mReport.faces, "face", "faces") +
           ", " + count(mReport.edges, "edge", "edges");
}

std::string Life::measure()
{
    ktmdl_BBox3d box = mBodies.Value(1)->mBBox;
    for (long i = 2; i <= mBodies.Length(); ++i) {
        box.Add(mBodies.Value(i)->mBBox);
    }
    mReport.boxMin = {box.mMin.mX, box.mMin.mY, box.mMin.mZ};
    mReport.boxMax = {box.mMax.mX, box.mMax.mY, box.mMax.mZ};
    return boxSizes(mReport.boxMin, mReport.boxMax);
}

std::string Life::chain()
{
    long closed = 0;
    long leftover = 0;
    forEachFace([&](const std::string& name, ktmdl_Topo& face) {
        FaceLoops loops;
        loops.face = name;
        loops.surface = surfaceName(face.mDispTopo);
        const Hnd_ktmdl_TopoHSeq edges = face.mSubTopos[0]->ShallowCopy();
        ktmdl_BldLoops builder(edges);
        builder.Compute();
        loops.closed = builder.Loops().IsNull() ? 0 : builder.Loops()->Length();
        loops.leftover = edges->Length();
        closed += loops.closed;
        leftover += loops.leftover;
        mReport.loops.push_back(loops);
    });
    return count(closed, "closed loop", "closed loops") + " on " +
           count(mReport.faces, "face", "faces") + ", " +
           (leftover == 0 ? "no edge" : count(leftover, "edge", "edges")) + " left over";
}

std::string Life::save(const std::string& path)
{
    ktstd_Archive archive;
    archive << mBodies;
    archive.Save(path.c_str());
    mReport.savedBytes =
        static_cast<long>(std::filesystem::file_size(std::filesystem::u8path(path)));
    return count(mReport.references, "reference", "references") + ", " +
           count(mReport.savedBytes, "byte", "bytes") + " (" +
           std::to_string(mReport.savedBytes / mReport.references) + " each)";
}

std::string Life::drop()
{
    mBodies.Clear();
    ktmdl_Topo::ClearAllTopos();
    for (const IDispatchPtr& document : mDocuments) {
        mHost.close(document);
    }
    mDocuments.clear();
    return "registry emptied, document closed";
}

std::string Life::readBack(const std::string& path)
{
    ktstd_Archive archive = ktstd_Archive::FromFile(path.c_str());
    archive >> mBodies;
    mReport.readBack = static_cast<long>(references().size());
    return count(mReport.readBack, "reference", "references");
}

std::string Life::bind()
{
    const bool embedded = mOptions.part.empty();
    const bool changed = embedded || !mOptions.changed.empty();
    openParts(readPart(changed ? mOptions.changed : mOptions.part, changed));
    for (const IDispatchPtr& document : mDocuments) {
        ktstd_AsciiString name("");
        ktmdl_Topo::ReconnectDocument(document, name);
    }
    for (const ktmdl_Topo* topo : references()) {
        (topo->mDispTopo != nullptr ? mReport.bound : mReport.unbound) += 1;
    }
    std::string text = count(mReport.bound, "reference", "references") + " bound, ";
    text += std::to_string(mReport.unbound) + " gone";
    return changed ? text + " in " + fileName(mReport.changed) : text;
}

std::string Life::compare()
{
    for (long i = 1; i <= mBodies.Length(); ++i) {
        compareObject("body " + std::to_string(i), *mBodies.ChangeValue(i));
    }
    forEachFace([this](const std::string& name, ktmdl_Topo& face) { compareObject(name, face); });
    if (mReport.changes.empty()) {
        return "nothing differs";
    }
    return count(static_cast<long>(mReport.changes.size()), "object differs", "objects differ");
}

bool boxDiffers(const ktmdl_Topo& topo)
{
    return ktmdl_Topo::BuildBBox(topo.mDispTopo).IsEqual(topo.mBBox) == 0;
}

//! Adds an entry when a body or face differs from what was saved.
void Life::compareObject(const std::string& name, ktmdl_Topo& topo)
{
    if (topo.mDispTopo == nullptr) {
        return; // gone; its body counts it
    }
    constexpr unsigned kBoxBits = 1U | 4U | 16U;
    const bool isBody = topo.tplType == kBody;
    ktmdl_BBox3d box;
    Hnd_ktmdl_TopoHSeq lists[8];
    unsigned bits = topo.HasChanged(0, box, lists[0], lists[1], lists[2], lists[3], lists[4],
                                    lists[5], lists[6], lists[7]);
    const Hnd_ktmdl_TopoHSeq* group = isBody ? lists + 4 : lists;

    // HasChanged holds every cached box against the default box, so it calls every real box
    // changed. Here the live boxes decide.
    bits &= ~kBoxBits;
    Change change;
    change.object = name;
    change.isBody = isBody;
    change.gone = group[1]->Length();
    change.fresh = group[2]->Length();
    for (long i = 1; i <= group[3]->Length(); ++i) {
        change.altered += boxDiffers(*group[3]->Value(i)) ? 1 : 0;
    }
    bits |= boxDiffers(topo) ? 1U : 0U;
    bits |= change.altered == 0 ? 0U : isBody ? 16U : 4U;
    change.bits = bits;
    if (bits != 0 || change.gone != 0) {
        mReport.changes.push_back(change);
    }
}

std::set<ktmdl_Topo*> Life::references()
{
    std::set<ktmdl_Topo*> all;
    const auto addChildren = [&all](const ktmdl_Topo& topo) {
        for (const Hnd_ktmdl_TopoHSeq& children : topo.mSubTopos) {
            for (long i = 1; !children.IsNull() && i <= children->Length(); ++i) {
                all.insert(&*children->Value(i));
            }
        }
    };
    for (long i = 1; i <= mBodies.Length(); ++i) {
        all.insert(&*mBodies.Value(i));
        addChildren(*mBodies.Value(i));
    }
    forEachFace([&](const std::string&, ktmdl_Topo& face) { addChildren(face); });
    return all;
}

//! Visits the faces of the bodies in order, with a name to report them under.
void Life::forEachFace(const std::function<void(const std::string&, ktmdl_Topo&)>& work)
{
    for (long i = 1; i <= mBodies.Length(); ++i) {
        const Hnd_ktmdl_TopoHSeq faces = mBodies.Value(i)->mSubTopos[1];
        for (long k = 1; !faces.IsNull() && k <= faces->Length(); ++k) {
            const std::string name = "body " + std::to_string(i) + " face " + std::to_string(k);
            work(name, *faces->Value(k));
        }
    }
}

} // namespace

LifeReport playLife(const LifeOptions& options,
                    const std::function<void(const std::string&, const std::string&, double)>& told)
{
    LifeReport report;
    onStage(options.out, [&](const std::filesystem::path& folder) {
        report = Life(options, told).play(folder);
    });
    return report;
}

} // namespace demo
