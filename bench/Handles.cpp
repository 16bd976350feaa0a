// Handles beside std::shared_ptr.

#include "Rows.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"

#include <sys/single_threaded.h>

#include <algorithm>
#include <memory>
#include <random>

namespace bench {

namespace {

constexpr std::size_t kMany = 10000;

//! Classes for std::shared_ptr with as many levels as the library's have and objects of their size.
struct Root
{
    virtual ~Root() = default;
};
struct Middle : Root
{
};
struct Sequence : Middle
{
    unsigned char state[sizeof(ktmdl_TopoHSeq) - sizeof(Middle)]{};
};
struct Reference : Middle
{
    unsigned char state[sizeof(ktmdl_Topo) - sizeof(Middle)]{};
};

//! Every second object is a sequence, the others are references.
struct Handles
{
    using Any = Hnd_ktstd_Transient;

    static Any make(bool aSequence)
    {
        return aSequence ? Any(new ktmdl_TopoHSeq()) : Any(new ktmdl_Topo());
    }
    static bool isSequence(const Any& aAny)
    {
        return Hnd_ktmdl_TopoHSeq::DownCast(aAny).IsNull() == 0;
    }
};
struct SharedPointers
{
    using Any = std::shared_ptr<Root>;

    static Any make(bool aSequence)
    {
        return aSequence ? Any(std::make_shared<Sequence>()) : Any(std::make_shared<Reference>());
    }
    static bool isSequence(const Any& aAny)
    {
        return std::dynamic_pointer_cast<Sequence>(aAny) != nullptr;
    }
};

template <class Kind>
struct Objects
{
    Objects()
    {
        for (std::size_t i = 0; i < kMany; ++i) {
            all.push_back(Kind::make(i % 2 == 0));
        }
        std::shuffle(all.begin(), all.end(), std::mt19937(1));
        copies = all;
        others = all;
        std::rotate(others.begin(), others.begin() + 1, others.end());
    }

    std::vector<typename Kind::Any> all;
    std::vector<typename Kind::Any> others;
    std::vector<typename Kind::Any> copies;
};

//! Lets go of the copies made before, and copies every handle.
template <class Kind>
void copy(Objects<Kind>& aObjects)
{
    aObjects.copies.clear();
    for (const auto& any : aObjects.all) {
        aObjects.copies.push_back(any);
    }
}

//! Gives every handle another object.
template <class Kind>
void assign(Objects<Kind>& aObjects)
{
    // Forth from one list, back from the next place of the other: each assignment changes the
    // object.
    for (std::size_t i = 0; i < kMany; ++i) {
        aObjects.copies[i] = aObjects.all[i];
    }
    for (std::size_t i = 0; i < kMany; ++i) {
        aObjects.copies[i] = aObjects.others[i];
    }
}

template <class Kind>
long cast(const Objects<Kind>& aObjects)
{
    long found = 0;
    for (const auto& any : aObjects.all) {
        found += Kind::isSequence(any) ? 1 : 0;
    }
    return found;
}

//! Whether the C library takes the process for one with a single thread: std::shared_ptr counts
//! without atomic operations then. A CAD host always has several.
class Threads
{
public:
    static void beSeveral() noexcept { __libc_single_threaded = 0; }
    static void beOne() noexcept { __libc_single_threaded = 1; }
};

template <class Kind, class Work>
Side side(const char* aName, Work aWork, double aAim)
{
    return {aName,
            [aWork] {
                const auto objects = std::make_shared<Objects<Kind>>();
                return timedOnly([objects, aWork] {
                    aWork(*objects);
                    consume(objects.get());
                });
            },
            0.0, aAim};
}

//! The same in a process with several threads.
Side amongThreads(Side aSide)
{
    aSide.prepare = [prepare = aSide.prepare] {
        Steps steps = prepare();
        steps.before = Threads::beSeveral;
        steps.after = Threads::beOne;
        return steps;
    };
    return aSide;
}

template <class Work>
void addRow(const char* aName, Work aWork)
{
    add({aName,
         static_cast<long>(kMany),
         side<Handles>("ours", aWork, 0.0),
         {side<SharedPointers>("std::shared_ptr, 1 thread", aWork, 3.0),
          amongThreads(side<SharedPointers>("std::shared_ptr", aWork, 3.0))},
         [] {
             const Objects<Handles> ours;
             const Objects<SharedPointers> theirs;
             return cast(ours) == cast(theirs) ? "" : "number of casts";
         }});
}

} // namespace

void addHandles()
{
    addRow("handle: copy and let go", [](auto& objects) { copy(objects); });
    addRow("handle: assign", [](auto& objects) { assign(objects); });
    addRow("handle: cast", [](auto& objects) {
        const long found = cast(objects);
        consume(&found);
    });
}

} // namespace bench
