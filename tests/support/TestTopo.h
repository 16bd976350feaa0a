//! @file
//! Topology references made of a key alone, without host and registry, which count how many are
//! alive.
#pragma once

#include "ktmdl/ktmdl_Topo.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kt_test {

class TestTopo : public ktmdl_Topo
{
public:
    explicit TestTopo(const std::vector<unsigned char>& aKey)
        : ktmdl_Topo(static_cast<long>(aKey.size()), static_cast<const unsigned char*>(aKey.data()))
    {
        ++sAlive;
    }
    TestTopo(const TestTopo&) = delete;
    TestTopo& operator=(const TestTopo&) = delete;
    ~TestTopo() override { --sAlive; }

    static long alive() { return sAlive; }

private:
    inline static long sAlive = 0;
};

//! Makes a reference that only the handle holds.
inline Hnd_ktmdl_Topo makeTopo(const std::vector<unsigned char>& aKey)
{
    return Hnd_ktmdl_Topo(new TestTopo(aKey));
}

//! The first byte of the key; 0 for a null handle.
inline int keyOf(const Hnd_ktmdl_Topo& aTopo)
{
    return aTopo.IsNull() != 0 ? 0 : aTopo->mKey[0];
}

//! The record of a reference that has a key and nothing else.
inline RecordBytes& topoRecord(RecordBytes& aBytes, const std::vector<unsigned char>& aKey)
{
    aBytes.version("ktmdl_Topo").u16(static_cast<unsigned>(aKey.size()));
    aBytes.text(std::string(aKey.begin(), aKey.end())).u8(0);
    aBytes.version("ktmdl_BBox3d").data3d(0, 0, 0).data3d(0, 0, 0).end("ktmdl_BBox3d");
    // Not a child, no edges, no faces, no document name.
    return aBytes.u8(0).u32(0).u32(0).u32(0).end("ktmdl_Topo");
}

//! The first reference to a new object: its number, its class, its record.
inline RecordBytes& newTopo(RecordBytes& aBytes, const std::vector<unsigned char>& aKey)
{
    const std::uint32_t number = aBytes.beginObject("ktmdl_Topo");
    return topoRecord(aBytes, aKey).endObject(number);
}

//! Stands first in a test: when all else is gone, no reference may be alive and the registry is
//! emptied.
class TopoGuard
{
public:
    TopoGuard() { EXPECT_EQ(TestTopo::alive(), 0) << "left by an earlier test"; }
    TopoGuard(const TopoGuard&) = delete;
    TopoGuard& operator=(const TopoGuard&) = delete;
    ~TopoGuard()
    {
        ktmdl_Topo::ClearAllTopos();
        EXPECT_EQ(TestTopo::alive(), 0) << "a reference was not deleted";
    }
};

} // namespace kt_test
