//! @file
//! Reference keys: how they are made, and what a caller sees of them.

#pragma once

#include "standin/Content.h"
#include "standin/Result.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace standin {

class Call;

//! Digests the bytes of a file up to its end.
[[nodiscard]] PartDigest digestOf(std::istream& file);
//! Digests bodies by all their numbers, for parts that come from no file.
[[nodiscard]] PartDigest digestOf(const std::vector<geom::Body>& bodies);
//! Mixes a number into a digest.
[[nodiscard]] PartDigest mixed(PartDigest digest, std::uint64_t number);

//! Gives the keys of a part that has no history.
[[nodiscard]] std::vector<BodyKeys> freshKeys(const PartContent& part);
//! Gives the keys of a part that follows another: what is recognised keeps its key.
[[nodiscard]] std::vector<BodyKeys> inheritedKeys(const PartContent& old, const PartContent& part);

//! Gives the keys of an assembly's occurrences, which follow from names alone: those of the
//! assembly and, one pair per occurrence, of the occurrence and of what it shows. Occurrences with
//! equal names are told apart by their order.
[[nodiscard]] std::vector<std::string>
occurrenceKeys(const std::string& assembly,
               const std::vector<std::pair<std::string, std::string>>& occurrences);

//! Gives a key as it is handed out: the key and the session's number, 24 bytes for a body, 28 for
//! a face, 36 for an edge, 20 for an occurrence.
[[nodiscard]] Bytes publishedKey(const std::string& key, std::uint32_t salt);
//! Answers GetReferenceKey: the key as it is handed out, and its size.
void answerKey(Call& call, const std::string& key, std::uint32_t salt);
//! Gives the key within a handed-out one, whatever session's number it carries.
//! @return nothing when the bytes are too few
[[nodiscard]] std::optional<std::string> innerKey(const Bytes& published);

} // namespace standin
