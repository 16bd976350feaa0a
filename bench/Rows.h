//! @file
//! Rows of the benchmark: the same work done by this project and by what a user would take instead,
//! timed in one process, in alternation.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

//! Work that is timed, between work that is not. Each is called once per pass, in this order.
struct Steps
{
    std::function<void()> before;
    std::function<void()> timed;
    std::function<void()> after;
};

//! One side of a row.
struct Side
{
    std::string name;
    //! Makes what the passes work on; it lives as long as the steps.
    std::function<Steps()> prepare;
    double bytes{0.0}; //!< memory per element; 0: not measured
    double aim{0.0};   //!< of a peer: its time over ours that is aimed at; 0: shown for comparison
    //! Measures bytes, where memory matters. Runs in a process of its own: neither the heap that
    //! rows leave behind nor blocks that are pooled change what it finds.
    std::function<double()> measure{};
};

//! A row of the table. Without something to prepare, only memory is measured.
struct Row
{
    std::string name;
    long size{1}; //!< elements worked on
    Side ours;
    std::vector<Side> peers;
    //! Compares the results of all sides.
    //! @return  what differs; empty when nothing does
    std::function<std::string()> check;
    long repeats{1}; //!< how often one pass does the work, where once would be too short to time
    double bytesRead{0.0}; //!< bytes that a pass goes through, to be told per cycle; 0: not told
};

//! Puts a row at the end of the table.
void add(Row aRow);

//! Makes steps of which only one is timed and the others do nothing.
Steps timedOnly(std::function<void()> aTimed);

//! Keeps the compiler from leaving out work whose result nobody uses.
void consume(const void* aResult) noexcept;

//! Gives the bytes taken from the general heap so far and not given back.
long heapBytes() noexcept;

//! Gives the bytes per element that something takes from the general heap.
//! @param aMake  makes it and gives what keeps it
template <class Make>
double heapBytesPer(long aElements, Make aMake)
{
    const long before = heapBytes();
    [[maybe_unused]] const auto kept = aMake();
    return static_cast<double>(heapBytes() - before) / static_cast<double>(aElements);
}

//! Adds the rows of each subject.
void addGeometry();
void addSequences();
void addHandles();
void addHash();
void addRegistry();
void addArchives();
void addLoops();
void addHostShare();

} // namespace bench
