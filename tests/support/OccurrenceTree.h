//! @file
//! A hand-made assembly document with its occurrences, nested to any depth.
#pragma once

#include "support/TopoScene.h"

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

//! The tree and its objects. It is written as a text: the names of the occurrences in their order,
//! each subassembly followed by its own occurrences in brackets: "a S[b T] c". A name that comes
//! again stands for the same occurrence.
//!
//! In the calls noted, the top document is "top", a subassembly's document "S.doc", their
//! collections "top.occs" and "S.doc.occs"; the references that the documents make are "ref1",
//! "ref2" and so on.
class OccurrenceTree
{
public:
    OccurrenceTree(Scene& aScene, const std::string& aText);
    OccurrenceTree(const OccurrenceTree&) = delete;
    OccurrenceTree& operator=(const OccurrenceTree&) = delete;

    //! Gives an object by its name in the calls noted.
    [[nodiscard]] fake::Object& At(const std::string& aName) const;
    //! As At; null when there is none.
    [[nodiscard]] fake::Object* Find(const std::string& aName) const;
    //! Makes an occurrence of a part that stands nowhere in the tree.
    fake::Object& MakePart(const std::string& aName);
    //! Gives the place of an occurrence of a document, counted from 1; null stands for none.
    [[nodiscard]] fake::Object*& Place(const std::string& aDocument, std::size_t aIdx);

    //! Gives the calls that made references, in order.
    [[nodiscard]] std::vector<std::string> Made() const;

private:
    using Occurrences = std::vector<fake::Object*>;

    fake::Object& Make(const std::string& aName);
    //! Reads occurrences up to the closing bracket, or the end.
    [[nodiscard]] Occurrences Read(std::istream& aText);
    fake::Object& MakeSubassembly(const std::string& aName, const Occurrences& aOccurrences);
    fake::Object& MakeDocument(const std::string& aName, const Occurrences& aOccurrences);

    Scene* mScene;
    std::vector<fake::Object*> mObjects;
    std::map<std::string, Occurrences> mPlaces; // by the document's name
    int mReferences{0};
};

//! The calls that read a property "Type".
std::vector<std::string> typeCalls(const std::string& aObject);
//! The calls that begin the walk through a document's occurrences.
std::vector<std::string> walkCalls(const std::string& aDocument);
