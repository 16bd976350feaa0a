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
struct ManyFaces
{
    explicit ManyFaces(long aFaces) : host(aFaces), body(new ktmdl_Topo())
    {
        body->tplType = 6;
        body->mDispTopo = &host;
        body->BuildPersistentData();
    }
    ~ManyFaces() { LetGo(); }
    ManyFaces(const ManyFaces&) = delete;
    ManyFaces& operator=(const ManyFaces&) = delete;

    //! Ends all references.
    void LetGo()
    {
        body.Nullify();
        ktmdl_Topo::ClearAllTopos();
    }
    unsigned char compare()
    {
        ktmdl_BBox3d box;
        Hnd_ktmdl_TopoHSeq lists[8];
        return body->HasChanged(0, box, lists[0], lists[1], lists[2], lists[3], lists[4], lists[5],
                                lists[6], lists[7]);
    }

    BareBody host;
    Hnd_ktmdl_Topo body;
};

void addChangeCheck(long aFaces)
{
    Row row{"change check of a body", aFaces, {}, {}, {}};
    row.ours = {"ours", [aFaces] {
                    const auto part = std::make_shared<ManyFaces>(aFaces);
                    return timedOnly([part] {
                        const unsigned char bits = part->compare();
                        consume(&bits);
                    });
                }};
    row.peers.push_back({"host calls alone",
                         [aFaces] {
                             const auto part = std::make_shared<Recorded<ManyFaces>>(aFaces);
                             part->life.body->mDispTopo = part->recorder.Watch(&part->life.host);
                             part->life.compare();
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
        addChangeCheck(faces);
    }
    addLife("sample holder", KT_SOURCE_DIR "/samples/holder.step");
    if (const char* const part = std::getenv("KTMDL_BENCH_PART")) {
        addLife("real part", part);
    }
}

} // namespace bench
