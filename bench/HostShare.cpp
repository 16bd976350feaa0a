// Operations on a host beside the same calls made bare: what is left is the libraries' own share.

#include "BareHost.h"
#include "Rows.h"
#include "demo/Automation.h"
#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "standin/Session.h"

#include <cstdlib>
#include <memory>

namespace bench {

namespace {

//! An own share of 20 percent of the time.
constexpr double kAim = 0.8;

//! What is played on a host, and its calls. References may hold watched objects to their end.
template <class Played>
struct Recorded
{
    template <class Argument>
    explicit Recorded(const Argument& aArgument) : life(aArgument)
    {}
    ~Recorded()
    {
        life.LetGo();
        recorder.Forget();
    }
    Recorded(const Recorded&) = delete;
    Recorded& operator=(const Recorded&) = delete;

    Recorder recorder;
    Played life;
};

//! A reference to a body, its faces known.
class KnownBody
{
public:
    KnownBody(const KnownBody&) = delete;
    KnownBody& operator=(const KnownBody&) = delete;

    //! Ends all references.
    void LetGo()
    {
        mBody.Nullify();
        ktmdl_Topo::ClearAllTopos();
    }
    [[nodiscard]] IDispatch* Object() const { return mBody->mDispTopo.GetInterfacePtr(); }
    void LookAt(const IDispatchPtr& aObject) { mBody->mDispTopo = aObject; }
    //! Gives the number of faces.
    [[nodiscard]] long Size() const { return mBody->mSubTopos[1]->Length(); }
    unsigned char Compare()
    {
        ktmdl_BBox3d box;
        Hnd_ktmdl_TopoHSeq lists[8];
        return mBody->HasChanged(0, box, lists[0], lists[1], lists[2], lists[3], lists[4], lists[5],
                                 lists[6], lists[7]);
    }

protected:
    KnownBody() = default;
    ~KnownBody() = default;
    void Know(const IDispatchPtr& aObject)
    {
        mBody = new ktmdl_Topo();
        mBody->tplType = 6;
        mBody->mDispTopo = aObject;
        mBody->BuildPersistentData();
    }

private:
    Hnd_ktmdl_Topo mBody;
};

//! The body of a host that answers at once.
class BareHostBody : public KnownBody
{
public:
    explicit BareHostBody(long aFaces) : mHost(aFaces) { Know(IDispatchPtr(&mHost)); }
    ~BareHostBody() { LetGo(); }

private:
    BareBody mHost;
};

//! The first body of a part on the stand-in host.
class PartBody : public KnownBody
{
public:
    explicit PartBody(const std::string& aPath) : mDocument(mHost.openPart(aPath))
    {
        Know(demo::objectProperty(demo::items(demo::objectProperty(mDocument, L"Models")).front(),
                                  L"Body"));
    }
    ~PartBody() { LetGo(); }

private:
    standin::Session mHost;
    IDispatchPtr mDocument;
};

template <class Body, class Argument>
void addChangeCheck(const std::string& aName, long aFaces, const Argument& aArgument)
{
    Row row{aName, aFaces, {}, {}, {}};
    row.ours = {"ours", [aArgument] {
                    const auto body = std::make_shared<Body>(aArgument);
                    return timedOnly([body] {
                        const unsigned char bits = body->Compare();
                        consume(&bits);
                    });
                }};
    row.peers.push_back({"host calls alone",
                         [aArgument] {
                             const auto part = std::make_shared<Recorded<Body>>(aArgument);
                             part->life.LookAt(part->recorder.Watch(part->life.Object()));
                             part->life.Compare();
                             return timedOnly([part] { part->recorder.Replay(); });
                         },
                         0.0, kAim});
    add(row);
}

//! The life of a real part: remember, measure, chain, save, let go, load, bind, compare.
class Life
{
public:
    explicit Life(const std::string& aPath) : mDocument(mHost.openPart(aPath)) {}
    ~Life() { LetGo(); }
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    void LetGo() { ktmdl_Topo::ClearAllTopos(); }
    long Play(const IDispatchPtr& aDocument)
    {
        ktmdl_TopoSeq bodies;
        for (const IDispatchPtr& model : demo::items(demo::objectProperty(aDocument, L"Models"))) {
            const Hnd_ktmdl_Topo body = ktmdl_Topo::New(demo::objectProperty(model, L"Body"));
            body->tplType = 6;
            body->mDispDoc = aDocument;
            body->BuildPersistentData();
            bodies.Append(body);
            const Hnd_ktmdl_TopoHSeq faces = body->mSubTopos[1];
            for (long i = 1; i <= faces->Length(); ++i) {
                const Hnd_ktmdl_Topo& face = faces->Value(i);
                face->BuildPersistentData();
                ktmdl_BldLoops loops(face->mSubTopos[0]->ShallowCopy());
                loops.Compute();
            }
        }
        ktstd_Archive saved;
        bodies.Serialize(saved);
        const std::vector<unsigned char> data = saved.Finish();
        bodies.Clear();
        ktmdl_Topo::ClearAllTopos();

        ktstd_Archive loading(data);
        ktmdl_TopoSeq loaded;
        loaded.Serialize(loading);
        ktstd_AsciiString name = loaded.Value(1)->mDocName;
        ktmdl_Topo::ReconnectDocument(aDocument, name);
        long changed = 0;
        for (long i = 1; i <= loaded.Length(); ++i) {
            ktmdl_BBox3d box;
            Hnd_ktmdl_TopoHSeq lists[8];
            changed += loaded.Value(i)->HasChanged(0, box, lists[0], lists[1], lists[2], lists[3],
                                                   lists[4], lists[5], lists[6], lists[7]);
        }
        loaded.Clear();
        ktmdl_Topo::ClearAllTopos();
        return changed;
    }
    long Play() { return Play(mDocument); }
    [[nodiscard]] const IDispatchPtr& Document() const noexcept { return mDocument; }

private:
    standin::Session mHost;
    IDispatchPtr mDocument;
};

void addLife(const std::string& aName, const std::string& aPath)
{
    Row row{"a part's life: " + aName, 1, {}, {}, {}};
    // Recorded for both sides: the host then keeps the objects that were asked for alive for both.
    const auto record = [aPath] {
        const auto part = std::make_shared<Recorded<Life>>(aPath);
        part->life.Play(part->recorder.Watch(part->life.Document().GetInterfacePtr()));
        return part;
    };
    row.ours = {"ours", [record] {
                    const auto part = record();
                    return timedOnly([part] {
                        const long changed = part->life.Play();
                        consume(&changed);
                    });
                }};
    row.peers.push_back({"host calls alone",
                         [record] {
                             const auto part = record();
                             return timedOnly([part] { part->recorder.Replay(); });
                         },
                         0.0, kAim});
    add(row);
}

} // namespace

void addHostShare()
{
    for (const long faces : {100L, 1000L, 10000L, 100000L}) {
        addChangeCheck<BareHostBody>("change check of a body", faces, faces);
    }
    const auto addPart = [](const std::string& aName, const std::string& aPath) {
        const long faces = PartBody(aPath).Size();
        addChangeCheck<PartBody>("change check: " + aName, faces, aPath);
        addLife(aName, aPath);
    };
    addPart("sample holder", KT_SOURCE_DIR "/samples/holder.step");
    if (const char* const part = std::getenv("KTMDL_BENCH_PART")) {
        addPart("real part", part);
    }
}

} // namespace bench
