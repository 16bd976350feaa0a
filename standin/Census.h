//! @file
//! Counts the stand-in host's live COM objects, so that a test can tell that nothing is left.
//! Strings and arrays are counted by the COM layer, not here.

#pragma once

#include <map>
#include <string>

namespace standin {

//! Live COM objects by class. An object counts from its creation to its last Release.
class Census
{
public:
    //! Gives how many objects live, of every class together.
    [[nodiscard]] long live() const noexcept { return total; }
    //! Gives how many objects of a class live.
    //! @param className  as the class is called by the host: "Face", "Edges", "PartDocument", ...
    [[nodiscard]] long live(const std::string& className) const;
    //! Gives how many objects have been created so far.
    [[nodiscard]] long created() const noexcept { return everCreated; }
    //! Lists what lives: "2 Edge, 1 PartDocument", classes in alphabetic order; empty when nothing
    //! does.
    [[nodiscard]] std::string text() const;

    //! Counts a new object. Called by the host's objects.
    void enter(const char* className);
    //! Counts an object out. Called by the host's objects.
    void leave(const char* className) noexcept;

private:
    std::map<std::string, long> counts;
    long total = 0;
    long everCreated = 0;
};

//! Gives the census of all sessions of this process together. It outlives every session, so it also
//! tells of objects that were still held when their session ended.
[[nodiscard]] Census& processCensus() noexcept;

} // namespace standin
