//! @file
//! Holds the objects that archives make, so that those that refer to one another can be untied.
#pragma once

#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Schema.h"

#include <string>
#include <vector>

namespace kt_test {

//! Holds every object of a class that archives make while this lives. A damaged archive can tie
//! objects into cycles that nobody can reach once loading has failed. One per class at a time.
template <class Object>
class KeptObjects
{
public:
    //! @param aName  the class, which is in the schema
    explicit KeptObjects(const char* aName) : mName(aName), mVersion(version()) { enter(makeKept); }
    KeptObjects(const KeptObjects&) = delete;
    KeptObjects& operator=(const KeptObjects&) = delete;
    ~KeptObjects()
    {
        sKept.clear();
        enter(make);
    }

    //! Calls a function for each object, and lets go of all of them.
    template <class Untie>
    void Release(Untie&& aUntie)
    {
        const std::vector<Kept> kept = std::move(sKept);
        sKept.clear();
        for (const Kept& each : kept) {
            aUntie(*each.object);
        }
    }

private:
    struct Kept
    {
        Hnd_ktstd_Transient handle;
        Object* object;
    };

    [[nodiscard]] long version() const
    {
        return ktstd_Schema::LastClassVersion(ktstd_AsciiString(mName.c_str()));
    }
    void enter(ktstd_Schema::Maker aMaker) const
    {
        ktstd_Schema::Unregister(mName.c_str());
        ktstd_Schema::Register(mName.c_str(), mVersion, aMaker);
    }
    static Hnd_ktstd_Transient make() { return Hnd_ktstd_Transient(new Object()); }
    static Hnd_ktstd_Transient makeKept()
    {
        Object* const object = new Object();
        sKept.push_back({Hnd_ktstd_Transient(object), object});
        return sKept.back().handle;
    }

    inline static std::vector<Kept> sKept;
    std::string mName;
    long mVersion;
};

} // namespace kt_test
