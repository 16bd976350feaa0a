//! @file
//! Runs operations with each of their allocations failing in turn.
#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

namespace kt_test {

//! What an operation leaves when memory runs out in it. In each case nothing is lost or leaked, and
//! what is there can still be used.
enum class Leaves
{
    AllAsBefore, //!< nothing has changed; run again, it gives what it gives without a fault
    FreshStart,  //!< something else; run again, it gives what it gives without a fault
    PartDone     //!< what was done by then; only a new trial gives what it gives without a fault
};

//! How an operation tells that memory ran out.
enum class Tells
{
    ByRaising,  //!< std::bad_alloc, or an automation error with E_OUTOFMEMORY
    ByFailure,  //!< as above, or a kernel failure
    InItsResult //!< as ByRaising, or by a status, an empty result or a log line
};

//! One run of an operation: what it works on, and how to see that.
struct Trial
{
    std::function<void()> run;
    std::function<std::string()> state; //!< all that the operation may change, as text
};

//! An operation of the libraries.
struct Operation
{
    std::string name; //!< letters and digits
    Leaves leaves;
    Tells tells;
    std::function<Trial()> prepare;
};
std::ostream& operator<<(std::ostream& aStream, const Operation& aOperation);

//! Makes an operation out of what it works on.
//! @tparam Subject  made anew for each trial
//! @param aRun      called with a Subject; what it does itself counts as the operation's
//! @param aState    called with a Subject; gives its text
template <class Subject, class Run, class State>
Operation operation(std::string aName, Leaves aLeaves, Tells aTells, Run aRun, State aState)
{
    return Operation{std::move(aName), aLeaves, aTells, [aRun, aState] {
                         const auto subject = std::make_shared<Subject>();
                         return Trial{[subject, aRun] { aRun(*subject); },
                                      [subject, aState] { return aState(*subject); }};
                     }};
}

//! Runs an operation without a fault, and then with each of its allocations failing, alone and with
//! all that follow. Fails the test, naming operation and allocation, for every other outcome than
//! those told, every leak and every wrong result afterwards.
void sweep(const Operation& aOperation);

//! Runs an operation that takes no memory, so that it can clear up: all allocations fail.
void runWithoutMemory(const Operation& aOperation);

} // namespace kt_test
