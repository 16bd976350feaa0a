//! @file
//! Tries every kind of fault of the host at every call of an operation, each in a world of its own.

#pragma once

#include "com/Com.h"
#include "standin/Session.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace sweep {

//! Where an operation's object is.
enum class Where
{
    part,   //!< in a part, a box from the origin to (0.1, 0.2, 0.3)
    nested, //!< in a part in an assembly in an assembly, a box from the origin to (0.4, 0.5, 0.6)
};

//! Opens the documents and gives the part.
IDispatchPtr openAt(standin::Session& host, Where where);

//! Collects what is wrong.
class Flaws
{
public:
    void check(bool holds, const std::string& what)
    {
        if (!holds) {
            text += (text.empty() ? "" : "; ") + what;
        }
    }
    [[nodiscard]] std::string all() const { return text; }

private:
    std::string text;
};

//! What a fault came to.
struct Report
{
    standin::FaultKind fault{};
    standin::JournalEntry call;      //!< the call that was struck
    bool raised = false;             //!< an automation error left the operation
    HRESULT code = S_OK;             //!< its code, or that of the first line that told one
    bool placed = false;             //!< the first line told the place where the fault shows
    std::vector<std::string> caught; //!< functions that logged the end of an error, in order
    bool reported = false;           //!< raised or logged; else the fault was passed over

    //! Tells whether an error ended in a function.
    [[nodiscard]] bool caughtIn(const std::string& function) const;
    //! Tells whether the call, as the journal writes it, holds a text.
    [[nodiscard]] bool at(const std::string& text) const;
};

//! A host with documents, and one operation of the libraries on them. Making one sets the scene;
//! its end empties the registry of references and ends the session.
class Stage
{
public:
    Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
    virtual ~Stage();

    //! Runs the operation.
    virtual void run() = 0;
    //! Makes what a second run needs and the first one has used up.
    virtual void renew() {}
    //! Tells what differs from the right result; empty when nothing.
    [[nodiscard]] virtual std::string flaw() = 0;
    //! Tells what must not be so after a fault that was reported or passed over; empty when all is
    //! allowed.
    [[nodiscard]] virtual std::string damage(const Report& report) = 0;

    standin::Session host;
};

//! A function that catches automation errors, as log lines name it.
struct Boundary
{
    std::string source;
    std::string function;
};

//! Faults at a call.
struct FaultAt
{
    std::string call;                       //!< part of the call as the journal writes it
    std::vector<standin::FaultKind> faults; //!< empty: all
};

//! How an operation reports what fails.
struct Rules
{
    bool raises = false;               //!< automation errors may leave it
    std::vector<Boundary> boundaries;  //!< innermost first
    std::vector<std::string> pointers; //!< names in the lines of missing objects
    std::vector<FaultAt> quiet;        //!< passed over without a word
    std::vector<FaultAt> unplaced;     //!< show at no place, though they are of such a kind
    std::vector<FaultAt> masked;       //!< show as a missing object, whatever the code
    std::string source;                //!< of lines without a boundary; needed when it raises
    std::vector<std::string> ownLines; //!< what it writes anyway, before all else
};

struct Operation
{
    std::string name; //!< letters and digits
    std::function<std::unique_ptr<Stage>()> stage;
    Rules rules;
};

void PrintTo(const Operation& operation, std::ostream* stream);

//! Makes the stage of an operation from its class and arguments.
template <class Scene, class... Arguments>
std::function<std::unique_ptr<Stage>()> stageOf(Arguments... arguments)
{
    return [arguments...] { return std::make_unique<Scene>(arguments...); };
}

//! One operation, swept. Instantiated with the table of each test file.
class FaultSweep : public testing::TestWithParam<Operation>
{
};

inline std::string nameOf(const testing::TestParamInfo<Operation>& info)
{
    return info.param.name;
}

} // namespace sweep
