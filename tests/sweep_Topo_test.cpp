// Every fault of the host at every call that references make.

#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_Archive.h"
#include "support/AssemblyObjects.h"
#include "support/FaultSweep.h"
#include "support/TopoScene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

namespace {

using standin::FaultKind;
using sweep::Flaws;
using sweep::Report;
using sweep::Where;

constexpr unsigned char kEdge = 2;
constexpr unsigned char kFace = 5;
constexpr unsigned char kBody = 6;

//! The question for an object's identity, as the journal writes it.
const char* const kIdentity = "QueryInterface({00000000-0000-0000-C000-000000000046})";

bool isSame(const IDispatchPtr& first, const IDispatchPtr& second)
{
    return first.GetInterfacePtr() == second.GetInterfacePtr();
}
bool isBound(const Hnd_ktmdl_Topo& topo)
{
    return topo->mDispTopo.GetInterfacePtr() != nullptr;
}
bool isText(const ktstd_AsciiString& text, const std::string& expected)
{
    return expected == text.ToCString();
}

std::array<double, 6> rangeOf(const IDispatchPtr& object)
{
    support::Array low;
    support::Array high;
    support::named(object, L"GetExactRange", DISPATCH_METHOD,
                   {support::reference(low), support::reference(high)});
    std::array<double, 6> range{};
    for (std::size_t i = 0; i < 3; ++i) {
        range.at(i) = low.doubles().at(i);
        range.at(i + 3) = high.doubles().at(i);
    }
    return range;
}

//! Opens a document and knows its objects and names.
class TopoStage : public sweep::Stage
{
public:
    //! Without a session of the libraries in a part, with one that adjusts names elsewhere.
    explicit TopoStage(Where where)
        : document(sweep::openAt(host, where)),
          body(support::bodyOf(document)),
          name(support::named(document, L"Name", DISPATCH_PROPERTYGET).text())
    {
        if (where == Where::nested) {
            beginSession();
            name = "[" + support::named(document, L"FullName", DISPATCH_PROPERTYGET).text() + "]";
        }
    }

protected:
    //! Makes a bound reference to an object of the document.
    [[nodiscard]] Hnd_ktmdl_Topo refer(const IDispatchPtr& object, unsigned char type) const
    {
        Hnd_ktmdl_Topo topo = ktmdl_Topo::New(object);
        topo->tplType = type;
        topo->mDispDoc = document;
        return topo;
    }

    //! Gives the name that comes of a number in the name's place.
    [[nodiscard]] std::string misread() const { return name[0] == '[' ? "[0.5]" : "0.5"; }

    IDispatchPtr document;
    IDispatchPtr body;
    std::string name; //!< as the libraries name the document
};

// References to live objects

class NewStage : public TopoStage
{
public:
    NewStage(Where where, bool isKnown) : TopoStage(where), key(support::keyOf(body))
    {
        if (isKnown) {
            known = newTopo(key);
        }
    }
    void run() override { topo = ktmdl_Topo::New(body, isNew); }
    void renew() override
    {
        topo.Nullify();
        ktmdl_Topo::ClearAllTopos();
        if (known.IsNull() == 0) {
            known = newTopo(key);
        }
    }
    std::string flaw() override
    {
        Flaws flaws;
        const bool isKnown = known.IsNull() == 0;
        flaws.check(isNew == (isKnown ? 0 : 1), "isNew");
        if (topo.IsNull() != 0) {
            flaws.check(false, "no reference");
            return flaws.all();
        }
        flaws.check(keyOf(topo) == key, "key");
        flaws.check(isSame(topo->mDispTopo, body), "not bound");
        flaws.check(topo->tplType == 0, "type");
        flaws.check(isRegistered(key), "not registered");
        flaws.check(!isKnown || topo == known, "not the known one");
        return flaws.all();
    }
    std::string damage(const Report& /*report*/) override
    {
        Flaws flaws;
        const bool isKnown = known.IsNull() == 0;
        flaws.check(topo.IsNull() != 0, "a reference came");
        flaws.check(isNew == 0, "isNew");
        flaws.check(isRegistered(key) == isKnown, "the registry has changed");
        flaws.check(!isKnown || !isBound(known), "the known reference is bound");
        return flaws.all();
    }

private:
    Bytes key;
    Hnd_ktmdl_Topo known;
    Hnd_ktmdl_Topo topo;
    unsigned char isNew = 7;
};

// Documents

class UpdateDispatchStage : public TopoStage
{
public:
    //! @param ofOccurrence  of an assembly, else of a body
    UpdateDispatchStage(Where where, bool ofOccurrence) : TopoStage(where)
    {
        stale = support::faceOf(document, 1);
        if (ofOccurrence) {
            document = host.document("C:\\jobs\\vice.asm");
            body = support::occurrenceOf(document, 2);
            name = "[C:\\jobs\\vice.asm]";
        }
        topo = refer(body, kBody);
        topo->mDispTopo = stale;
    }
    void run() override
    {
        status = 7;
        status = topo->UpdateDispatch();
    }
    void renew() override
    {
        topo->mDispTopo = stale;
        topo->mDocName.Copy(ktstd_AsciiString());
    }
    std::string flaw() override
    {
        Flaws flaws = common(name);
        flaws.check(status == 0, "status");
        flaws.check(isSame(topo->mDispTopo, body), "not bound");
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        Flaws flaws = common(report.raised ? "" : report.reported ? name : misread());
        flaws.check(status == (report.raised ? 7 : 0), "status");
        flaws.check(isSame(topo->mDispTopo, report.raised     ? stale
                                            : report.reported ? IDispatchPtr()
                                                              : body),
                    "bound");
        return flaws.all();
    }

private:
    [[nodiscard]] Flaws common(const std::string& docName) const
    {
        Flaws flaws;
        flaws.check(isText(topo->mDocName, docName),
                    "name " + std::string(topo->mDocName.ToCString()));
        flaws.check(isSame(topo->mDispDoc, document), "document");
        return flaws;
    }

    IDispatchPtr stale; //!< what the reference was bound to before
    Hnd_ktmdl_Topo topo;
    long status = 7;
};

// Several references

//! Bound references to objects of a document of an assembly, and one to another document's body.
class ManyStage : public TopoStage
{
public:
    explicit ManyStage(Where where) : TopoStage(where)
    {
        add(body, kBody);
        add(support::faceOf(document, 1), kFace);
        add(support::faceOf(document, 5), kFace);
        add(support::edgeOf(document, 7), kEdge);
        elsewhere = support::openBody(host, support::plainBox(), "C:\\parts\\other.par");
        // The key of a body made in memory is that of every such body: another kind is needed.
        other = ktmdl_Topo::New(support::faceOf(elsewhere, 2));
        other->tplType = kFace;
        other->mDispDoc = elsewhere;
        otherObject = other->mDispTopo;
    }

protected:
    void add(const IDispatchPtr& object, unsigned char type)
    {
        objects.push_back(object);
        topos.push_back(refer(object, type));
    }
    void bind()
    {
        for (std::size_t i = 0; i < topos.size(); ++i) {
            topos[i]->mDispTopo = objects[i];
            topos[i]->mDispDoc = document;
            topos[i]->mDocName.Copy(ktstd_AsciiString());
        }
    }
    //! @param isNamed  they know their document by its name, else the document itself
    void unbind(bool isNamed)
    {
        const ktstd_AsciiString docName(isNamed ? name.c_str() : "");
        for (const Hnd_ktmdl_Topo& topo : topos) {
            topo->mDispTopo = nullptr;
            topo->mDispDoc = isNamed ? IDispatchPtr() : document;
            topo->mDocName.Copy(docName);
        }
    }
    [[nodiscard]] std::size_t countBound() const
    {
        std::size_t bound = 0;
        for (std::size_t i = 0; i < topos.size(); ++i) {
            bound += isSame(topos[i]->mDispTopo, objects[i]) ? 1U : 0U;
        }
        return bound;
    }
    [[nodiscard]] std::size_t countInDocument() const
    {
        std::size_t inside = 0;
        for (const Hnd_ktmdl_Topo& topo : topos) {
            inside += isSame(topo->mDispDoc, document) ? 1U : 0U;
        }
        return inside;
    }
    [[nodiscard]] std::size_t countNamed(const std::string& expected) const
    {
        std::size_t named = 0;
        for (const Hnd_ktmdl_Topo& topo : topos) {
            named += isText(topo->mDocName, expected) ? 1U : 0U;
        }
        return named;
    }
    [[nodiscard]] bool otherIsUntouched() const
    {
        return isSame(other->mDispTopo, otherObject) && isSame(other->mDispDoc, elsewhere) &&
               isText(other->mDocName, "");
    }
    void check(Flaws& flaws, std::size_t bound, std::size_t inDocument,
               const std::string& docName) const
    {
        flaws.check(countBound() == bound, std::to_string(countBound()) + " bound");
        flaws.check(countInDocument() == inDocument,
                    std::to_string(countInDocument()) + " in the document");
        flaws.check(countNamed(docName) == topos.size(), "names are not " + docName);
        flaws.check(otherIsUntouched(), "another document's reference was touched");
    }

    std::vector<IDispatchPtr> objects;
    std::vector<Hnd_ktmdl_Topo> topos;
    IDispatchPtr elsewhere;
    Hnd_ktmdl_Topo other;
    IDispatchPtr otherObject;
};

//! An operation on a document, with a name to be filled or the document's name.
class DocumentStage : public ManyStage
{
public:
    explicit DocumentStage(bool isToFill) : ManyStage(Where::nested), fills(isToFill) { setName(); }

protected:
    void setName()
    {
        given.Copy(ktstd_AsciiString(fills ? "" : name.c_str()));
        status = 7;
    }
    //! Compares what the operation told.
    void checkTold(Flaws& flaws, const Report* report) const
    {
        const bool raised = report != nullptr && report->raised;
        const bool isMisread = report != nullptr && !report->reported && fills;
        const bool isUnread = raised && fills && !report->at(kIdentity);
        flaws.check(status == (raised ? 7 : 0), "status");
        flaws.check(isText(given, isUnread    ? ""
                                  : isMisread ? misread()
                                              : name),
                    "the name given is " + std::string(given.ToCString()));
    }

    bool fills;
    ktstd_AsciiString given;
    long status = 7;
};

class DisconnectStage : public DocumentStage
{
public:
    using DocumentStage::DocumentStage;
    void run() override { status = ktmdl_Topo::DisconnectDocument(document, given); }
    void renew() override
    {
        bind();
        setName();
    }
    std::string flaw() override
    {
        Flaws flaws;
        checkTold(flaws, nullptr);
        check(flaws, 0, 0, name);
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        Flaws flaws;
        checkTold(flaws, &report);
        if (report.at(kIdentity)) {
            // The walk has ended: those before are disconnected, those behind are not.
            const std::size_t left = countBound();
            flaws.check(left >= 1 || !otherIsUntouched(), "all are disconnected");
            flaws.check(countInDocument() == left, "documents");
            flaws.check(countNamed("") == left && countNamed(name) == topos.size() - left, "names");
        } else if (report.raised) {
            check(flaws, topos.size(), topos.size(), "");
        } else {
            check(flaws, 0, 0, misread());
        }
        return flaws.all();
    }
};

class ReconnectStage : public DocumentStage
{
public:
    //! @param isNamed  the references know their document by its name
    ReconnectStage(bool isToFill, bool isNamed) : DocumentStage(isToFill), byName(isNamed)
    {
        unbind(byName);
    }
    void run() override { status = ktmdl_Topo::ReconnectDocument(document, given); }
    void renew() override
    {
        unbind(byName);
        setName();
    }
    std::string flaw() override
    {
        Flaws flaws;
        checkTold(flaws, nullptr);
        check(flaws, topos.size(), topos.size(), name);
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        const std::size_t all = topos.size();
        Flaws flaws;
        checkTold(flaws, &report);
        if (report.at(kIdentity)) {
            // One that can't be compared stays as it was; the other document's may be the one.
            flaws.check(countBound() + 1 >= all, "bound");
            flaws.check(countInDocument() == all, "documents");
            flaws.check(countNamed(name) == countBound(), "names");
            flaws.check(otherIsUntouched(), "another document's reference was touched");
        } else if (report.caughtIn("ktmdl_Topo::UpdateDocDispatches")) {
            check(flaws, all - 1, all, name);
        } else if (report.raised || byName) {
            check(flaws, 0, byName ? 0 : all, byName ? name : ""); // no document of that name
        } else {
            check(flaws, all, all, misread());
        }
        return flaws.all();
    }

private:
    bool byName;
};

//! References whose live objects have other keys than they.
class BindAllStage : public ManyStage
{
public:
    explicit BindAllStage(Where where) : ManyStage(where)
    {
        std::rotate(objects.begin(), objects.begin() + 1, objects.end());
        bind();
        for (std::size_t i = 0; i < topos.size(); ++i) {
            before.push_back(keyOf(topos[i]));
            expected.push_back(support::keyOf(objects[i]));
        }
    }
    void run() override { ktmdl_Topo::BindAllToposInMap(); }
    void renew() override
    {
        // Who has left the registry is found by no walk and comes back by itself only.
        for (std::size_t i = 0; i < topos.size(); ++i) {
            if (keyOf(topos[i]) != expected[i]) {
                topos[i]->UpdateReferenceKey();
            }
        }
    }
    std::string flaw() override
    {
        Flaws flaws;
        flaws.check(countRefreshed() == topos.size(), std::to_string(countRefreshed()) + " keys");
        for (const Bytes& key : expected) {
            flaws.check(isRegistered(key), "a key is not registered");
        }
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        Flaws flaws;
        const bool isOther = keyOf(other) == support::keyOf(otherObject);
        flaws.check(isOther, "the other document's key");
        // The fault may strike the reference that is no part of the change.
        const std::size_t refreshed = countRefreshed();
        flaws.check(refreshed + 1 >= topos.size(), std::to_string(refreshed) + " keys");
        std::size_t kept = 0;
        for (std::size_t i = 0; i < topos.size(); ++i) {
            kept += keyOf(topos[i]) == before[i] ? 1U : 0U;
        }
        flaws.check(refreshed + kept == topos.size(), "a key is neither the old nor the new one");
        flaws.check(countBound() == topos.size(), "a reference was unbound");
        flaws.check(!report.raised, "raised");
        return flaws.all();
    }

private:
    [[nodiscard]] std::size_t countRefreshed() const
    {
        std::size_t refreshed = 0;
        for (std::size_t i = 0; i < topos.size(); ++i) {
            refreshed += keyOf(topos[i]) == expected[i] ? 1U : 0U;
        }
        return refreshed;
    }

    std::vector<Bytes> before;
    std::vector<Bytes> expected;
};

//! A reference to a body that is bound to a face.
class UpdateReferenceKeyStage : public TopoStage
{
public:
    explicit UpdateReferenceKeyStage(Where where)
        : TopoStage(where),
          topo(refer(body, kBody)),
          oldKey(keyOf(topo)),
          newKey(support::keyOf(support::faceOf(document, 3)))
    {
        topo->mDispTopo = support::faceOf(document, 3);
    }
    void run() override { topo->UpdateReferenceKey(); }
    std::string flaw() override
    {
        Flaws flaws;
        flaws.check(keyOf(topo) == newKey, "key");
        flaws.check(isRegistered(newKey), "not registered under the new key");
        flaws.check(!isRegistered(oldKey), "registered under the old key");
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        // Past the host's answer the reference is out of the registry, and stays so when the key
        // can't be copied.
        const bool isOut =
            report.fault == FaultKind::nullArray || report.fault == FaultKind::emptyArray ||
            report.fault == FaultKind::shortArray || report.fault == FaultKind::otherElementType;
        Flaws flaws;
        flaws.check(keyOf(topo) == oldKey, "key");
        flaws.check(isRegistered(oldKey) == !isOut, "registered under the old key");
        flaws.check(!isRegistered(newKey), "registered under the new key");
        flaws.check(isBound(topo), "unbound");
        return flaws.all();
    }

private:
    Hnd_ktmdl_Topo topo;
    Bytes oldKey;
    Bytes newKey;
};

// Archives

class StoreStage : public TopoStage
{
public:
    explicit StoreStage(Where where) : TopoStage(where), topo(refer(body, kBody)) {}
    void run() override
    {
        bytes.clear();
        ktstd_Archive archive;
        topo->Serialize(archive);
        bytes = archive.Finish();
    }
    void renew() override { topo->mDocName.Copy(ktstd_AsciiString()); }
    std::string flaw() override { return compare(name).all(); }
    std::string damage(const Report& report) override
    {
        if (!report.raised) {
            return compare(misread()).all();
        }
        Flaws flaws;
        flaws.check(bytes.empty(), "stored");
        flaws.check(isText(topo->mDocName, ""), "name");
        flaws.check(isSame(topo->mDispTopo, body), "unbound");
        return flaws.all();
    }

private:
    //! Loads what was stored.
    [[nodiscard]] Flaws compare(const std::string& docName) const
    {
        Flaws flaws;
        flaws.check(isText(topo->mDocName, docName), "name");
        flaws.check(isSame(topo->mDispTopo, body), "unbound");
        if (bytes.empty()) {
            flaws.check(false, "nothing stored");
            return flaws;
        }
        const Hnd_ktmdl_Topo loaded(new ktmdl_Topo);
        ktstd_Archive archive(bytes);
        loaded->Serialize(archive);
        ktmdl_Topo::RemoveFromMap(loaded);
        flaws.check(isText(loaded->mDocName, docName), "name stored");
        flaws.check(keyOf(loaded) == keyOf(topo), "key stored");
        flaws.check(loaded->tplType == kBody, "type stored");
        return flaws;
    }

    Hnd_ktmdl_Topo topo;
    std::vector<unsigned char> bytes;
};

// Geometry

class BuildBBoxStage : public TopoStage
{
public:
    explicit BuildBBoxStage(Where where) : TopoStage(where), expected(rangeOf(body)) {}
    void run() override { box = ktmdl_Topo::BuildBBox(body); }
    std::string flaw() override { return cornersOf(box) == expected ? "" : "box"; }
    std::string damage(const Report& /*report*/) override
    {
        return cornersOf(box) == std::array<double, 6>() ? "" : "not the default box";
    }

private:
    std::array<double, 6> expected;
    ktmdl_BBox3d box;
};

class BuildNormalStage : public TopoStage
{
public:
    //! The second face looks along x.
    explicit BuildNormalStage(Where where)
        : TopoStage(where),
          topo(refer(support::faceOf(document, 2), kFace))
    {}
    void run() override { normal = topo->BuildNormal(); }
    std::string flaw() override { return isNormal(1.0) ? "" : "normal"; }
    std::string damage(const Report& /*report*/) override
    {
        return isNormal(0.0) ? "" : "not the zero vector";
    }

private:
    [[nodiscard]] bool isNormal(double x) const
    {
        return std::fabs(normal.mX - x) < 1e-12 && std::fabs(normal.mY) < 1e-12 &&
               std::fabs(normal.mZ) < 1e-12;
    }

    Hnd_ktmdl_Topo topo;
    ktmdl_Vec3d normal;
};

//! The rim of a bolt.
class IsClosedStage : public TopoStage
{
public:
    IsClosedStage() : TopoStage(Where::nested)
    {
        const IDispatchPtr bolt = host.document("C:\\jobs\\vice.asm!bolt");
        for (const IDispatchPtr& edge : support::itemsOf(support::edgesOf(support::bodyOf(bolt)))) {
            if (support::get(edge, 85).flag()) {
                topo = refer(edge, kEdge);
            }
        }
    }
    void run() override
    {
        closed = 7;
        closed = topo->IsClosed();
    }
    std::string flaw() override { return closed == 1 ? "" : "not closed"; }
    std::string damage(const Report& /*report*/) override
    {
        return closed == 0 ? "" : "neither open nor closed";
    }

private:
    Hnd_ktmdl_Topo topo;
    unsigned char closed = 7;
};

class ShowStage : public TopoStage
{
public:
    ShowStage() : TopoStage(Where::nested), topo(refer(support::edgeOf(document, 1), kEdge)) {}
    void run() override { ShowVariable("edge", topo); }
    std::string flaw() override { return ""; }
    std::string damage(const Report& /*report*/) override { return ""; }

private:
    Hnd_ktmdl_Topo topo;
};

// Children

//! A list of children as the host has it.
struct Expected
{
    Expected(const IDispatchPtr& parent, const wchar_t* property)
        : objects(support::itemsOf(support::need(
              support::named(parent, property, DISPATCH_PROPERTYGET, {support::value(LONG{1})}))))
    {
        for (const IDispatchPtr& object : objects) {
            keys.push_back(support::keyOf(object));
            boxes.push_back(rangeOf(object));
        }
    }

    std::vector<IDispatchPtr> objects;
    std::vector<Bytes> keys;
    std::vector<std::array<double, 6>> boxes;
};

constexpr std::array<double, 6> kNoBox{};

//! A reference with children, of any type.
class ChildrenStage : public TopoStage
{
public:
    ChildrenStage(Where where, unsigned char type)
        : TopoStage(where),
          topo(refer(objectOf(type), type))
    {}

protected:
    [[nodiscard]] IDispatchPtr objectOf(unsigned char type) const
    {
        return type == kBody   ? body
               : type == kFace ? support::faceOf(document, 4)
                               : support::edgeOf(document, 4);
    }
    [[nodiscard]] bool hasFaces() const { return topo->tplType == kBody; }
    [[nodiscard]] bool hasEdges() const { return topo->tplType != kEdge; }

    Hnd_ktmdl_Topo topo;
};

class BuildPersistentDataStage : public ChildrenStage
{
public:
    BuildPersistentDataStage(Where where, unsigned char type)
        : ChildrenStage(where, type),
          box(rangeOf(topo->mDispTopo))
    {
        if (hasFaces()) {
            lists[1].emplace(topo->mDispTopo, L"Faces");
        }
        if (hasEdges()) {
            lists[0].emplace(topo->mDispTopo, L"Edges");
        }
        renew();
    }
    void run() override
    {
        status = 7;
        status = topo->BuildPersistentData();
    }
    void renew() override
    {
        // Lists of an earlier time, which must not stay.
        for (Hnd_ktmdl_TopoHSeq& list : topo->mSubTopos) {
            list = listOf({refer(support::edgeOf(document, 1), kEdge)});
        }
        topo->mBBox = ktmdl_BBox3d();
    }
    std::string flaw() override
    {
        Flaws flaws;
        const int missing = check(flaws);
        flaws.check(status == 0, "status");
        flaws.check(missing == 0, std::to_string(missing) + " boxes are missing");
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        Flaws flaws;
        if (report.raised) {
            // The lists are made one after the other, faces first, each whole or not at all.
            const bool isFaceListDone = topo->mSubTopos[1].IsNull() == 0;
            flaws.check(status == 7, "status");
            flaws.check(topo->mSubTopos[0].IsNull() != 0, "a list of edges");
            flaws.check(cornersOf(topo->mBBox) == box, "box");
            flaws.check(!isFaceListDone || (lists[1] && checkList(flaws, 1) == 0), "faces");
        } else {
            flaws.check(status == 0, "status");
            flaws.check(check(flaws) == 1, "more or less than one box is missing");
        }
        return flaws.all();
    }

private:
    //! Compares all but boxes that are missing.
    //! @return  how many are missing
    int check(Flaws& flaws) const
    {
        int missing = checkBox(flaws, topo->mBBox, box);
        for (const int list : {0, 1}) {
            if (lists[list]) {
                missing += checkList(flaws, list);
            } else {
                flaws.check(topo->mSubTopos[list].IsNull() != 0, "a list that should not be");
            }
        }
        return missing;
    }
    int checkList(Flaws& flaws, int list) const
    {
        const Expected& expected = *lists[list];
        const std::vector<Hnd_ktmdl_Topo> children = elementsOf(topo->mSubTopos[list]);
        flaws.check(children.size() == expected.objects.size(), "number of children");
        int missing = 0;
        for (std::size_t i = 0; i < children.size() && i < expected.objects.size(); ++i) {
            const Hnd_ktmdl_Topo& child = children[i];
            flaws.check(keyOf(child) == expected.keys[i], "a child's key");
            flaws.check(isSame(child->mDispTopo, expected.objects[i]), "a child is not bound");
            flaws.check(isSame(child->mDispDoc, document), "a child's document");
            flaws.check(child->tplType == (list == 0 ? kEdge : kFace), "a child's type");
            flaws.check(child->mIsSubTopo == 1, "a child is not marked");
            missing += checkBox(flaws, child->mBBox, expected.boxes[i]);
        }
        return missing;
    }
    static int checkBox(Flaws& flaws, const ktmdl_BBox3d& found,
                        const std::array<double, 6>& expected)
    {
        const std::array<double, 6> corners = cornersOf(found);
        flaws.check(corners == expected || corners == kNoBox, "a box is not as it is");
        return corners == expected ? 0 : 1;
    }

    std::array<double, 6> box;
    std::optional<Expected> lists[2]; //!< edges, faces
    long status = 7;
};

//! The cached list has one child that the object has not, and lacks the object's first one; its
//! last one has no box.
class HasChangedStage : public ChildrenStage
{
public:
    HasChangedStage(Where where, unsigned char type) : ChildrenStage(where, type)
    {
        topo->BuildPersistentData();
        children = elementsOf(topo->mSubTopos[list()]);
        stranger = refer(support::edgeOf(document, 1), kEdge);
        std::vector<Hnd_ktmdl_Topo> cached(children.begin() + 1, children.end());
        cached.push_back(stranger);
        topo->mSubTopos[list()] = listOf(cached);
        for (int i = 0; i < 2; ++i) {
            before[i] = topo->mSubTopos[i];
        }
        box = cornersOf(topo->mBBox);
        lastBox = cornersOf(children.back()->mBBox);
        renew();
    }
    void run() override
    {
        bits = topo->HasChanged(0, fresh, lists[0], lists[1], lists[2], lists[3], lists[4],
                                lists[5], lists[6], lists[7]);
    }
    void renew() override
    {
        bits = 99;
        for (Hnd_ktmdl_TopoHSeq& each : lists) {
            each.Nullify();
        }
        children.front()->mBBox = ktmdl_BBox3d();
        children.back()->mBBox = ktmdl_BBox3d();
    }
    std::string flaw() override
    {
        Flaws flaws = common();
        checkComplete(flaws, true);
        flaws.check(cornersOf(children.back()->mBBox) == lastBox, "the box that was missing");
        flaws.check(cornersOf(children.front()->mBBox) != kNoBox, "the new child's box");
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        Flaws flaws = common();
        if (!report.raised) {
            // A child without a box does not count as altered.
            const bool hasLastBox = cornersOf(children.back()->mBBox) == lastBox;
            const bool hasFirstBox = cornersOf(children.front()->mBBox) != kNoBox;
            flaws.check(hasLastBox != hasFirstBox, "more or less than one box is missing");
            checkComplete(flaws, hasLastBox);
            return flaws.all();
        }
        flaws.check(bits == 99, "bits");
        const int first = 4 * list();
        if (lists[first].IsNull() != 0) {
            for (const Hnd_ktmdl_TopoHSeq& each : lists) {
                flaws.check(each.IsNull() != 0, "a list");
            }
            return flaws.all();
        }
        const std::vector<Hnd_ktmdl_Topo> current = elementsOf(lists[first]);
        flaws.check(current.size() < children.size(), "all children");
        flaws.check(std::equal(current.begin(), current.end(), children.begin()), "children");
        flaws.check(elementsOf(lists[first + 1]).empty(), "gone children");
        flaws.check(elementsOf(lists[first + 2]) ==
                        std::vector<Hnd_ktmdl_Topo>(current.begin(),
                                                    current.begin() + (current.empty() ? 0 : 1)),
                    "new children");
        flaws.check(elementsOf(lists[first + 3]) ==
                        std::vector<Hnd_ktmdl_Topo>(current.begin() + (current.empty() ? 0 : 1),
                                                    current.end()),
                    "altered children");
        return flaws.all();
    }

private:
    [[nodiscard]] int list() const { return hasFaces() ? 1 : 0; }
    //! What neither success nor failure may change.
    [[nodiscard]] Flaws common() const
    {
        Flaws flaws;
        flaws.check(cornersOf(fresh) == kNoBox, "the box told");
        flaws.check(cornersOf(topo->mBBox) == box, "the cached box");
        const int untouched = 4 * (1 - list());
        for (int i = 0; i < 4; ++i) {
            flaws.check(lists[untouched + i].IsNull() != 0, "a list of the other group");
        }
        for (int i = 0; i < 2; ++i) {
            flaws.check(topo->mSubTopos[i] == before[i], "a cached list");
        }
        return flaws;
    }
    void checkComplete(Flaws& flaws, bool isLastAltered) const
    {
        const int first = 4 * list();
        std::vector<Hnd_ktmdl_Topo> altered(children.begin() + 1, children.end());
        if (!isLastAltered) {
            altered.pop_back();
        }
        flaws.check(bits == (list() == 1 ? 1 + 8 + 16 : 1 + 2 + 4), "bits " + std::to_string(bits));
        flaws.check(elementsOf(lists[first]) == children, "children");
        flaws.check(elementsOf(lists[first + 1]) == std::vector<Hnd_ktmdl_Topo>{stranger},
                    "gone children");
        flaws.check(elementsOf(lists[first + 2]) == std::vector<Hnd_ktmdl_Topo>{children[0]},
                    "new children");
        flaws.check(elementsOf(lists[first + 3]) == altered, "altered children");
    }

    std::vector<Hnd_ktmdl_Topo> children; //!< as the object has them
    Hnd_ktmdl_Topo stranger;
    Hnd_ktmdl_TopoHSeq before[2];
    std::array<double, 6> box{};
    std::array<double, 6> lastBox{};
    ktmdl_BBox3d fresh;
    Hnd_ktmdl_TopoHSeq lists[8];
    unsigned bits = 99;
};

//! With the quick flag, a new first child ends the comparison.
class QuickStage : public ChildrenStage
{
public:
    explicit QuickStage(Where where) : ChildrenStage(where, kBody)
    {
        topo->BuildPersistentData();
        std::vector<Hnd_ktmdl_Topo> cached = elementsOf(topo->mSubTopos[1]);
        first = cached.front();
        firstBox = cornersOf(first->mBBox);
        cached.front() = refer(support::edgeOf(document, 1), kEdge);
        topo->mSubTopos[1] = listOf(cached);
        topo->mBBox = ktmdl_BBox3d();
    }
    void run() override
    {
        bits = 99;
        first->mBBox = ktmdl_BBox3d();
        ktmdl_BBox3d fresh;
        Hnd_ktmdl_TopoHSeq unused[4];
        bits = topo->HasChanged(1, fresh, unused[0], unused[1], unused[2], unused[3], lists[0],
                                lists[1], lists[2], lists[3]);
    }
    void renew() override
    {
        for (Hnd_ktmdl_TopoHSeq& each : lists) {
            each.Nullify();
        }
    }
    std::string flaw() override
    {
        Flaws flaws = told(true);
        flaws.check(cornersOf(first->mBBox) == firstBox, "box");
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        if (!report.raised) {
            Flaws flaws = told(true);
            flaws.check(cornersOf(first->mBBox) == kNoBox, "box");
            return flaws.all();
        }
        return told(false).all();
    }

private:
    [[nodiscard]] Flaws told(bool isWhole) const
    {
        Flaws flaws;
        flaws.check(bits == (isWhole ? 8 : 99), "bits " + std::to_string(bits));
        for (const int list : {0, 1, 3}) {
            flaws.check(elementsOf(lists[list]).empty(), "a list that should be empty");
        }
        flaws.check(elementsOf(lists[2]) == (isWhole ? std::vector<Hnd_ktmdl_Topo>{first}
                                                     : std::vector<Hnd_ktmdl_Topo>()),
                    "new children");
        return flaws;
    }

    Hnd_ktmdl_Topo first;
    std::array<double, 6> firstBox{};
    Hnd_ktmdl_TopoHSeq lists[4]; //!< faces: current, gone, new, altered
    unsigned bits = 99;
};

// What operations report, and how

const char* const kSource = "ktmdl_Topo.cpp";

sweep::Boundary boundary(const std::string& function)
{
    return {kSource, "ktmdl_Topo::" + function};
}

//! A box that can't be asked for, or comes as no three numbers, is left out without a word.
const std::vector<sweep::FaultAt> kQuietBox = {
    {"GetIDsOfNames(GetExactRange)", {}},
    {".GetExactRange method",
     {FaultKind::nullArray, FaultKind::emptyArray, FaultKind::shortArray,
      FaultKind::otherElementType}}};

//! A key that can't be taken over, a child that is missing, and parameters that the host does not
//! take back are told by the error alone.
const std::vector<sweep::FaultAt> kUnplaced = {
    {".GetReferenceKey method",
     {FaultKind::nullArray, FaultKind::emptyArray, FaultKind::shortArray,
      FaultKind::otherElementType}},
    {".Item method", {FaultKind::nullObject, FaultKind::noResult}},
    {".GetParamAtPoint method", {FaultKind::otherElementType}}};

sweep::Rules raising()
{
    sweep::Rules rules;
    rules.raises = true;
    rules.source = kSource;
    rules.unplaced = kUnplaced;
    return rules;
}

sweep::Rules catching(const std::string& function, const std::vector<std::string>& pointers = {})
{
    sweep::Rules rules;
    rules.boundaries = {boundary(function)};
    rules.pointers = pointers;
    rules.unplaced = kUnplaced;
    return rules;
}

//! Of operations that read a document's name, which leaves them with what fails.
sweep::Rules naming(sweep::Rules rules)
{
    rules.raises = true;
    rules.source = kSource;
    rules.quiet.insert(rules.quiet.end(), {{".Name get", {FaultKind::wrongType}},
                                           {".FullName get", {FaultKind::wrongType}}});
    return rules;
}

sweep::Rules binding()
{
    return naming(catching("UpdateDocDispatches", {"mDispTopo"}));
}

sweep::Rules buildingBox()
{
    sweep::Rules rules = catching("BuildBBox");
    rules.quiet = kQuietBox;
    return rules;
}

//! Of operations on children, which ask for their boxes and let all else out.
sweep::Rules walkingChildren()
{
    sweep::Rules rules = buildingBox();
    rules.raises = true;
    rules.source = kSource;
    rules.pointers = {"pFaces", "pEdges"};
    return rules;
}

sweep::Rules showing()
{
    sweep::Rules rules;
    rules.boundaries = {{kSource, "ShowVariable"}};
    rules.pointers = {"pE", "pGeom"};
    rules.ownLines = {"[Topo]: edge:"};
    return rules;
}

const std::vector<sweep::Operation>& operations()
{
    using sweep::stageOf;
    static const std::vector<sweep::Operation> all = {
        {"NewOfAnObject", stageOf<NewStage>(Where::part, false), raising()},
        {"NewOfAnObjectWithAKnownKey", stageOf<NewStage>(Where::nested, true), raising()},
        {"UpdateDispatch", stageOf<UpdateDispatchStage>(Where::part, false), binding()},
        {"UpdateDispatchNested", stageOf<UpdateDispatchStage>(Where::nested, false), binding()},
        {"UpdateDispatchOfAnOccurrence", stageOf<UpdateDispatchStage>(Where::nested, true),
         binding()},
        {"DisconnectDocument", stageOf<DisconnectStage>(true), naming({})},
        {"DisconnectDocumentByName", stageOf<DisconnectStage>(false), raising()},
        {"ReconnectDocument", stageOf<ReconnectStage>(true, true), binding()},
        {"ReconnectDocumentHeld", stageOf<ReconnectStage>(true, false), binding()},
        {"ReconnectDocumentByName", stageOf<ReconnectStage>(false, true), binding()},
        {"UpdateReferenceKey", stageOf<UpdateReferenceKeyStage>(Where::nested),
         catching("UpdateReferenceKey")},
        {"BindAllToposInMap", stageOf<BindAllStage>(Where::part), catching("UpdateReferenceKey")},
        {"BindAllToposInMapNested", stageOf<BindAllStage>(Where::nested),
         catching("UpdateReferenceKey")},
        {"Store", stageOf<StoreStage>(Where::part), naming({})},
        {"StoreNested", stageOf<StoreStage>(Where::nested), naming({})},
        {"BuildBBox", stageOf<BuildBBoxStage>(Where::part), buildingBox()},
        {"BuildBBoxNested", stageOf<BuildBBoxStage>(Where::nested), buildingBox()},
        {"BuildNormal", stageOf<BuildNormalStage>(Where::part), catching("BuildNormal", {"pFace"})},
        {"BuildNormalNested", stageOf<BuildNormalStage>(Where::nested),
         catching("BuildNormal", {"pFace"})},
        {"IsClosed", stageOf<IsClosedStage>(), catching("IsClosed", {"pE"})},
        {"BuildPersistentDataOfABody", stageOf<BuildPersistentDataStage>(Where::part, kBody),
         walkingChildren()},
        {"BuildPersistentDataOfAFace", stageOf<BuildPersistentDataStage>(Where::nested, kFace),
         walkingChildren()},
        {"BuildPersistentDataOfAnEdge", stageOf<BuildPersistentDataStage>(Where::nested, kEdge),
         buildingBox()},
        {"HasChangedOfABody", stageOf<HasChangedStage>(Where::nested, kBody), walkingChildren()},
        {"HasChangedOfAFace", stageOf<HasChangedStage>(Where::part, kFace), walkingChildren()},
        {"HasChangedQuick", stageOf<QuickStage>(Where::part), walkingChildren()},
        {"ShowVariable", stageOf<ShowStage>(), showing()},
    };
    return all;
}

} // namespace

namespace sweep {
INSTANTIATE_TEST_SUITE_P(Topo, FaultSweep, testing::ValuesIn(operations()), nameOf);
} // namespace sweep
