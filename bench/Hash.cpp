// Hash of keys beside the plain loop that defines it.

#include "Rows.h"
#include "ktmdl/ktmdl_Topo.h"

#include <cstdint>
#include <memory>
#include <random>

namespace bench {

namespace {

constexpr std::size_t kKeys = 1000;

[[gnu::noinline]] std::uint32_t plainHash(long aSize, const unsigned char* aKey)
{
    std::uint32_t hash = 0;
    for (long i = 0; i < aSize; ++i) {
        hash = hash * 5U + aKey[i];
    }
    return hash;
}

std::shared_ptr<std::vector<unsigned char>> keys(long aSize)
{
    std::mt19937 random(1);
    const auto bytes =
        std::make_shared<std::vector<unsigned char>>(kKeys * static_cast<std::size_t>(aSize));
    for (unsigned char& byte : *bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

template <class Hash>
std::uint32_t hashAll(const std::vector<unsigned char>& aKeys, long aSize, Hash aHash)
{
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < kKeys; ++i) {
        sum ^= aHash(aSize, aKeys.data() + i * static_cast<std::size_t>(aSize));
    }
    return sum;
}

template <class Hash>
Side side(const char* aName, long aSize, Hash aHash, double aAim)
{
    return {aName,
            [aSize, aHash] {
                const auto all = keys(aSize);
                return timedOnly([all, aSize, aHash] {
                    const std::uint32_t sum = hashAll(*all, aSize, aHash);
                    consume(&sum);
                });
            },
            0.0, aAim};
}

} // namespace

void addHash()
{
    for (const long size : {16L, 64L, 256L}) {
        Row row{"key hash, bytes of 1000 keys",
                size,
                side("ours", size, &ktmdl_Topo::HashKey, 0.0),
                {side("plain loop", size, &plainHash, 4.0)},
                [size] {
                    const auto all = keys(size);
                    return hashAll(*all, size, &ktmdl_Topo::HashKey) ==
                                   hashAll(*all, size, &plainHash)
                               ? ""
                               : "hashes";
                }};
        row.bytesRead = static_cast<double>(kKeys) * static_cast<double>(size);
        add(row);
    }
}

} // namespace bench
