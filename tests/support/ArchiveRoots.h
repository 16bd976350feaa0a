//! @file
//! The kinds of things that archives hold one after the other, to load any archive as any of them.
#pragma once

#include "ktmdl/ktmdl_BBox2d.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_CrdSys3d.h"
#include "ktmdl/ktmdl_ErosionPosSeq.h"
#include "ktmdl/ktmdl_Pnt3dSeq.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_TopoMap.h"
#include "ktmdl/ktmdl_Trsf3dSeq.h"
#include "ktmdl/ktmdl_Vec2d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Dim.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "support/KeptObjects.h"

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace kt_test {

using Bytes = std::vector<unsigned char>;

//! A thing that archives hold.
class ArchiveRoot
{
public:
    ArchiveRoot() = default;
    ArchiveRoot(const ArchiveRoot&) = delete;
    ArchiveRoot& operator=(const ArchiveRoot&) = delete;
    virtual ~ArchiveRoot() = default;

    //! Stores it, or loads it in the place of what it was.
    virtual void Transfer(ktstd_Archive& aArchive) = 0;
    //! Gives archives that are the same for equal things.
    [[nodiscard]] virtual std::vector<Bytes> Parts()
    {
        ktstd_Archive archive;
        Transfer(archive);
        return {archive.Finish()};
    }
};

template <class Value>
class ArchiveRootOf : public ArchiveRoot
{
public:
    void Transfer(ktstd_Archive& aArchive) override
    {
        if constexpr (std::is_base_of_v<Hnd_ktstd_Transient, Value>) {
            if (aArchive.IsStoring() != 0) {
                aArchive << static_cast<const Hnd_ktstd_Transient&>(mValue);
            } else {
                aArchive >> mValue;
            }
        } else if constexpr (std::is_same_v<Value, ktstd_AsciiString> ||
                             std::is_same_v<Value, ktstd_Dim>) {
            if (aArchive.IsStoring() != 0) {
                aArchive << mValue;
            } else {
                aArchive >> mValue;
            }
        } else {
            mValue.Serialize(aArchive);
        }
    }

private:
    Value mValue;
};

//! The set keeps no order, so that its parts are the references, each for itself, in the order of
//! their bytes.
template <>
class ArchiveRootOf<ktmdl_TopoMap> : public ArchiveRoot
{
public:
    void Transfer(ktstd_Archive& aArchive) override { mValue.Serialize(aArchive); }
    [[nodiscard]] std::vector<Bytes> Parts() override
    {
        std::vector<Bytes> parts;
        for (ktmdl_MapIteratorOfTopoMap it(mValue); it.More() != 0; it.Next()) {
            ktstd_Archive archive;
            archive << static_cast<const Hnd_ktstd_Transient&>(it.Key());
            parts.push_back(archive.Finish());
        }
        std::sort(parts.begin(), parts.end());
        return parts;
    }

private:
    ktmdl_TopoMap mValue{1};
};

//! A kind of thing, with a letter for it.
struct ArchiveRootKind
{
    char letter;
    std::unique_ptr<ArchiveRoot> (*make)();
};

template <class Value>
std::unique_ptr<ArchiveRoot> makeArchiveRoot()
{
    return std::make_unique<ArchiveRootOf<Value>>();
}

constexpr ArchiveRootKind kArchiveRootKinds[] = {
    {'2', makeArchiveRoot<ktmdl_Pnt2d>},         {'v', makeArchiveRoot<ktmdl_Vec2d>},
    {'b', makeArchiveRoot<ktmdl_BBox2d>},        {'3', makeArchiveRoot<ktmdl_Pnt3d>},
    {'A', makeArchiveRoot<ktmdl_Axis3d>},        {'C', makeArchiveRoot<ktmdl_CrdSys3d>},
    {'B', makeArchiveRoot<ktmdl_BBox3d>},        {'M', makeArchiveRoot<ktmdl_Trsf3d>},
    {'E', makeArchiveRoot<ktmdl_ErosionPos>},    {'p', makeArchiveRoot<ktmdl_Pnt3dSeq>},
    {'m', makeArchiveRoot<ktmdl_Trsf3dSeq>},     {'e', makeArchiveRoot<ktmdl_ErosionPosSeq>},
    {'t', makeArchiveRoot<ktmdl_TopoSeq>},       {'T', makeArchiveRoot<Hnd_ktmdl_Topo>},
    {'H', makeArchiveRoot<Hnd_ktmdl_TopoHSeq>},  {'S', makeArchiveRoot<ktmdl_TopoMap>},
    {'s', makeArchiveRoot<ktstd_AsciiString>},   {'d', makeArchiveRoot<ktstd_Dim>},
    {'O', makeArchiveRoot<Hnd_ktstd_Transient>},
};

//! Gives the kind with a letter; the first kind for another letter.
inline const ArchiveRootKind& archiveRootKind(char aLetter)
{
    const auto* const found =
        std::find_if(std::begin(kArchiveRootKinds), std::end(kArchiveRootKinds),
                     [aLetter](const ArchiveRootKind& aKind) { return aKind.letter == aLetter; });
    return found != std::end(kArchiveRootKinds) ? *found : kArchiveRootKinds[0];
}

//! Objects of all persistent classes, held until they are untied.
class KeptModelObjects
{
public:
    KeptModelObjects() = default;
    KeptModelObjects(const KeptModelObjects&) = delete;
    KeptModelObjects& operator=(const KeptModelObjects&) = delete;
    ~KeptModelObjects() { Release(); }

    //! Lets go of all objects that archives made so far, and empties the registry.
    void Release()
    {
        ktmdl_Topo::ClearAllTopos();
        mTopos.Release([](ktmdl_Topo& aTopo) {
            for (Hnd_ktmdl_TopoHSeq& list : aTopo.mSubTopos) {
                list.Nullify();
            }
        });
        mLists.Release([](ktmdl_TopoHSeq& aList) { aList.Clear(); });
        mSequences.Release([](ktstd_TransientHSeq& aSequence) { aSequence.Clear(); });
    }

private:
    KeptObjects<ktmdl_Topo> mTopos{"ktmdl_Topo"};
    KeptObjects<ktmdl_TopoHSeq> mLists{"ktmdl_TopoHSeq"};
    KeptObjects<ktstd_TransientHSeq> mSequences{"ktstd_TransientHSeq"};
};

} // namespace kt_test
