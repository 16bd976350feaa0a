#include "standin/Keys.h"

#include "standin/Call.h"
#include "standin/Match.h"

#include <cstring>
#include <istream>
#include <map>
#include <unordered_set>

namespace standin {
namespace {

constexpr std::size_t kSaltBytes = 4;
constexpr std::size_t kOccurrenceKeyBytes = 16;

//! FNV-1a, kept twice with different starts.
class Digester
{
public:
    Digester() = default;
    explicit Digester(PartDigest start) : state(start) {}

    void add(const unsigned char* bytes, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            state.first = (state.first ^ bytes[i]) * kPrime;
            state.second = (state.second ^ bytes[i]) * kPrime;
        }
    }
    void add(std::uint64_t number)
    {
        unsigned char bytes[8];
        for (unsigned i = 0; i < 8; ++i) {
            bytes[i] = static_cast<unsigned char>(number >> (8 * i));
        }
        add(bytes, sizeof bytes);
    }
    void add(double number)
    {
        std::uint64_t bits = 0;
        const double plain = number == 0.0 ? 0.0 : number; // -0 counts as 0
        std::memcpy(&bits, &plain, sizeof bits);
        add(bits);
    }
    void add(const geom::Vec& point)
    {
        add(point.x);
        add(point.y);
        add(point.z);
    }
    void add(const std::string& text)
    {
        add(static_cast<std::uint64_t>(text.size()));
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            add(&byte, 1);
        }
    }
    [[nodiscard]] PartDigest digest() const { return state; }

private:
    static constexpr std::uint64_t kPrime = 0x100000001B3u;
    PartDigest state{0xCBF29CE484222325u, 0x84222325CBF29CE4u};
};

//! Spreads a number's bits over all 64.
std::uint64_t spread(std::uint64_t x)
{
    x += 0x9E3779B97F4A7C15u;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    return x ^ (x >> 31);
}

void addEdges(Digester& digester, const geom::Body& body)
{
    for (const geom::Edge& edge : body.edges) {
        digester.add(static_cast<std::uint64_t>(edge.curve->kind()));
        digester.add(edge.from);
        digester.add(edge.to);
        digester.add(static_cast<std::uint64_t>(edge.start));
        digester.add(static_cast<std::uint64_t>(edge.end));
        digester.add(edge.curve->at(0.5 * (edge.from + edge.to)));
    }
}

void addFaces(Digester& digester, const geom::Body& body)
{
    for (const geom::Face& face : body.faces) {
        digester.add(static_cast<std::uint64_t>(face.surface->kind()));
        digester.add(static_cast<std::uint64_t>(face.reversed ? 1 : 0));
        digester.add(face.surface->at({0.25, 0.25}));
        for (const geom::Loop& loop : face.loops) {
            digester.add(static_cast<std::uint64_t>(loop.uses.size()));
            for (const geom::EdgeUse& use : loop.uses) {
                digester.add(static_cast<std::uint64_t>(use.edge * 2 + (use.reversed ? 1 : 0)));
            }
        }
    }
}

std::size_t keyBytes(EntityKind kind)
{
    switch (kind) {
    case EntityKind::body:
        return 20;
    case EntityKind::face:
        return 24;
    default:
        return 32;
    }
}

//! Makes a key out of a digest.
std::string keyOf(const PartDigest& digest, std::size_t bytes)
{
    std::string key;
    for (std::uint64_t block = 0; key.size() < bytes; ++block) {
        std::uint64_t bits = spread(digest.first + spread(digest.second + block));
        for (int i = 0; i < 8 && key.size() < bytes; ++i, bits >>= 8) {
            key += static_cast<char>(static_cast<unsigned char>(bits & 0xFFu));
        }
    }
    return key;
}

//! Makes keys that no other object of the part has.
class KeyMaker
{
public:
    explicit KeyMaker(PartDigest digest) : part(digest) {}

    void take(const std::string& key) { used.insert(key); }

    std::string make(const Entity& entity)
    {
        for (std::uint64_t attempt = 0;; ++attempt) {
            std::string key = candidate(entity, attempt);
            if (used.insert(key).second) {
                return key;
            }
        }
    }

private:
    std::string candidate(const Entity& entity, std::uint64_t attempt) const
    {
        Digester digester(part);
        digester.add(static_cast<std::uint64_t>(entity.kind));
        digester.add(static_cast<std::uint64_t>(entity.body));
        digester.add(static_cast<std::uint64_t>(entity.index));
        digester.add(attempt);
        return keyOf(digester.digest(), keyBytes(entity.kind));
    }

    PartDigest part;
    std::unordered_set<std::string> used;
};

//! Gives every key that is still empty.
void fillIn(std::vector<BodyKeys>& keys, KeyMaker& maker)
{
    for (std::size_t b = 0; b < keys.size(); ++b) {
        if (keys[b].body.empty()) {
            keys[b].body = maker.make({EntityKind::body, b, 0});
        }
        for (std::size_t i = 0; i < keys[b].faces.size(); ++i) {
            if (keys[b].faces[i].empty()) {
                keys[b].faces[i] = maker.make({EntityKind::face, b, i});
            }
        }
        for (std::size_t i = 0; i < keys[b].edges.size(); ++i) {
            if (keys[b].edges[i].empty()) {
                keys[b].edges[i] = maker.make({EntityKind::edge, b, i});
            }
        }
    }
}

std::vector<BodyKeys> emptyKeys(const PartContent& part)
{
    std::vector<BodyKeys> keys(part.bodies().size());
    for (std::size_t b = 0; b < keys.size(); ++b) {
        keys[b].faces.resize(part.bodies()[b].faces.size());
        keys[b].edges.resize(part.bodies()[b].edges.size());
    }
    return keys;
}

void copyMatched(std::vector<std::string>& keys, const std::vector<std::string>& old,
                 const std::vector<std::size_t>& from)
{
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (from[i] != geom::kNone) {
            keys[i] = old[from[i]];
        }
    }
}

} // namespace

PartDigest digestOf(std::istream& file)
{
    Digester digester;
    char buffer[65536];
    while (file) {
        file.read(buffer, sizeof buffer);
        digester.add(reinterpret_cast<const unsigned char*>(buffer),
                     static_cast<std::size_t>(file.gcount()));
    }
    return digester.digest();
}

PartDigest digestOf(const std::vector<geom::Body>& bodies)
{
    Digester digester;
    for (const geom::Body& body : bodies) {
        digester.add(body.name);
        for (const geom::Vertex& vertex : body.vertices) {
            digester.add(vertex.point);
        }
        addEdges(digester, body);
        addFaces(digester, body);
    }
    return digester.digest();
}

PartDigest mixed(PartDigest digest, std::uint64_t number)
{
    Digester digester(digest);
    digester.add(number);
    return digester.digest();
}

std::vector<BodyKeys> freshKeys(const PartContent& part)
{
    std::vector<BodyKeys> keys = emptyKeys(part);
    KeyMaker maker(part.digest());
    fillIn(keys, maker);
    return keys;
}

std::vector<BodyKeys> inheritedKeys(const PartContent& old, const PartContent& part)
{
    std::vector<BodyKeys> keys = emptyKeys(part);
    KeyMaker maker(part.digest());
    // A new object never gets a key that something vanished has had.
    for (const BodyKeys& body : old.keys()) {
        maker.take(body.body);
        for (const std::string& key : body.faces) {
            maker.take(key);
        }
        for (const std::string& key : body.edges) {
            maker.take(key);
        }
    }
    const std::vector<BodyMatch> matches = matchParts(old, part);
    for (std::size_t b = 0; b < keys.size(); ++b) {
        if (matches[b].body == geom::kNone) {
            continue;
        }
        const BodyKeys& source = old.keys()[matches[b].body];
        keys[b].body = source.body;
        copyMatched(keys[b].faces, source.faces, matches[b].faces);
        copyMatched(keys[b].edges, source.edges, matches[b].edges);
    }
    fillIn(keys, maker);
    return keys;
}

std::vector<std::string>
occurrenceKeys(const std::string& assembly,
               const std::vector<std::pair<std::string, std::string>>& occurrences)
{
    std::vector<std::string> keys;
    std::map<std::pair<std::string, std::string>, std::uint64_t> alike;
    for (const auto& names : occurrences) {
        Digester digester;
        digester.add(assembly);
        digester.add(names.first);
        digester.add(names.second);
        digester.add(++alike[names]);
        keys.push_back(keyOf(digester.digest(), kOccurrenceKeyBytes));
    }
    return keys;
}

Bytes publishedKey(const std::string& key, std::uint32_t salt)
{
    Bytes bytes;
    bytes.reserve(key.size() + kSaltBytes);
    for (const char c : key) {
        bytes.push_back(static_cast<unsigned char>(c));
    }
    for (unsigned i = 0; i < kSaltBytes; ++i) {
        bytes.push_back(static_cast<unsigned char>((salt >> (8 * i)) & 0xFFu));
    }
    return bytes;
}

void answerKey(Call& call, const std::string& key, std::uint32_t salt)
{
    Bytes bytes = publishedKey(key, salt);
    const auto size = static_cast<LONG>(bytes.size());
    call.put(0, asArray(std::move(bytes)));
    call.put(1, asLong(size));
}

std::optional<std::string> innerKey(const Bytes& published)
{
    if (published.size() <= kSaltBytes) {
        return std::nullopt;
    }
    std::string key;
    for (std::size_t i = 0; i + kSaltBytes < published.size(); ++i) {
        key += static_cast<char>(published[i]);
    }
    return key;
}

} // namespace standin
