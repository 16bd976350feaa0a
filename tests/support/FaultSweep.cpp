#include "support/FaultSweep.h"

#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_Session.h"
#include "ktstd/ktstd_fail.h"
#include "support/AssemblyObjects.h"
#include "support/CensusGuard.h"
#include "support/LogCapture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace sweep {
namespace {

using standin::Fault;
using standin::FaultKind;

constexpr HRESULT kBusy = static_cast<HRESULT>(0x8001010Au);

struct FaultCase
{
    const char* name;
    FaultKind kind;
    HRESULT code = E_FAIL;
    bool asException = false;
    bool ofIdentity = false; //!< strikes questions for IUnknown, which the others pass over
};

const FaultCase kFaults[] = {
    {"E_FAIL", FaultKind::fail},
    {"E_FAIL in EXCEPINFO", FaultKind::fail, E_FAIL, true},
    {"E_POINTER", FaultKind::fail, E_POINTER},
    {"0x8001010A", FaultKind::fail, kBusy},
    {"DISP_E_MEMBERNOTFOUND", FaultKind::fail, DISP_E_MEMBERNOTFOUND},
    {"RPC_E_DISCONNECTED", FaultKind::fail, RPC_E_DISCONNECTED},
    {"no interface", FaultKind::refuseInterface, E_NOINTERFACE},
    {"no identity", FaultKind::refuseInterface, RPC_E_DISCONNECTED, false, true},
    {"null object", FaultKind::nullObject},
    {"nothing for an object", FaultKind::noResult},
    {"another type", FaultKind::wrongType},
    {"a text for a number", FaultKind::textForNumber},
    {"no array", FaultKind::nullArray},
    {"an empty array", FaultKind::emptyArray},
    {"a short array", FaultKind::shortArray},
    {"another element type", FaultKind::otherElementType},
    {"another lower bound", FaultKind::otherLowerBound},
};

//! The codes under which a fault may be reported.
std::vector<HRESULT> codesOf(const FaultCase& fault)
{
    switch (fault.kind) {
    case FaultKind::fail:
        return {fault.code};
    case FaultKind::refuseInterface:
        return {fault.code == E_NOINTERFACE ? E_POINTER : fault.code};
    case FaultKind::nullObject:
    case FaultKind::noResult:
        return {E_POINTER};
    case FaultKind::nullArray:
        return {E_POINTER, E_INVALIDARG}; // the second from the host, when it is handed back
    case FaultKind::emptyArray:
    case FaultKind::shortArray:
        return {DISP_E_BADINDEX, E_INVALIDARG};
    case FaultKind::otherLowerBound:
        return {};
    default:
        return {DISP_E_TYPEMISMATCH};
    }
}

bool isOneOf(HRESULT code, const std::vector<HRESULT>& codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

bool startsWith(const std::string& text, const std::string& start)
{
    return text.rfind(start, 0) == 0;
}

//! Gives what stands between two texts; empty when they are not there.
std::string between(const std::string& text, const std::string& before, const std::string& after)
{
    const std::size_t start = text.find(before);
    if (start == std::string::npos) {
        return "";
    }
    const std::size_t from = start + before.size();
    const std::size_t end = text.find(after, from);
    return end == std::string::npos ? "" : text.substr(from, end - from);
}

HRESULT codeIn(const std::string& digits)
{
    return static_cast<HRESULT>(std::strtoul(digits.c_str(), nullptr, 16));
}

//! Reads the lines that a fault has left: of each error at most the place where it shows, then the
//! function that ended it; a function that ends may make its caller show the same code.
class LogReader
{
public:
    LogReader(const Rules& operationRules, Report& faultReport)
        : rules(operationRules),
          report(faultReport)
    {}

    void read(const std::vector<std::string>& lines)
    {
        for (const std::string& line : lines) {
            if (startsWith(line, "COM ERROR caught in ")) {
                readCaught(line);
            } else if (startsWith(line, "COM ERROR: ")) {
                readPlace(line);
            } else {
                ADD_FAILURE() << "a line of no kind that may come: " << line;
            }
        }
        EXPECT_TRUE(shown == S_OK || report.raised)
            << "an error shows in the log and ends in no function";
        if (report.raised && shown != S_OK) {
            EXPECT_EQ(report.code, shown) << "code raised, code logged";
        }
    }

private:
    void readPlace(const std::string& line)
    {
        report.placed = report.placed || report.caught.empty();
        EXPECT_EQ(shown, S_OK) << "the place of an error is told twice: " << line;
        const std::string name = between(line, "COM ERROR: pointer ", " is NULL (File: ");
        if (!name.empty()) {
            EXPECT_NE(std::find(rules.pointers.begin(), rules.pointers.end(), name),
                      rules.pointers.end())
                << "an object of an unknown name is missing: " << line;
            shown = E_POINTER;
            expectForm(line, [&](const std::string& file) { return nullPointerForm(file, name); });
        } else {
            const std::string digits = between(line, ", hr=0x", " (File: ");
            EXPECT_EQ(digits.size(), 8U) << line;
            shown = codeIn(digits);
            expectForm(line, [&](const std::string& file) { return failedCallForm(file, shown); });
        }
        if (!report.raised && report.code == S_OK) {
            report.code = shown;
        }
    }

    void readCaught(const std::string& line)
    {
        const std::string function = between(line, "{", "}");
        const HRESULT code = codeIn(between(line, "(hr=", ")"));
        while (next < rules.boundaries.size() && rules.boundaries[next].function != function) {
            ++next;
        }
        if (next == rules.boundaries.size()) {
            ADD_FAILURE() << "ends in a function that does not end it, or not again: " << line;
            return;
        }
        const Boundary& boundary = rules.boundaries[next++];
        const testing::AssertionResult matches =
            isLine(line, caughtForm(boundary.source, function, code));
        EXPECT_TRUE(matches);
        if (shown != S_OK) {
            EXPECT_EQ(code, shown) << "code caught, code shown before";
        }
        if (!report.raised && report.code == S_OK) {
            report.code = code;
        }
        EXPECT_EQ(code, report.code) << "one fault, several codes: " << line;
        report.caught.push_back(function);
        shown = S_OK;
    }

    //! Checks the form of a line, whose file is that of a boundary not passed yet or of the
    //! operation.
    template <class Form>
    void expectForm(const std::string& line, Form form)
    {
        for (std::size_t i = next; i < rules.boundaries.size(); ++i) {
            if (isLine(line, form(rules.boundaries[i].source))) {
                return;
            }
        }
        EXPECT_TRUE(!rules.source.empty() && isLine(line, form(rules.source)))
            << "not as a line of the operation's files is: " << line;
    }

    const Rules& rules;
    Report& report;
    std::size_t next = 0; //!< the innermost boundary that has not logged
    HRESULT shown = S_OK; //!< code of an error that has not ended
};

//! Takes the operation's own lines off.
std::vector<std::string> withoutOwnLines(std::vector<std::string> lines, const Rules& rules)
{
    const std::size_t own = rules.ownLines.size();
    if (lines.size() < own ||
        !std::equal(rules.ownLines.begin(), rules.ownLines.end(), lines.begin())) {
        ADD_FAILURE() << "the operation's own lines are not there";
        return lines;
    }
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(own));
    return lines;
}

void expectSilence(const LogCapture& log, const Rules& rules)
{
    for (const std::string& line : withoutOwnLines(log.Lines(), rules)) {
        ADD_FAILURE() << "nothing failed, but the log says: " << line;
    }
}

bool isAmong(const std::vector<FaultAt>& all, const Report& report)
{
    return std::any_of(all.begin(), all.end(), [&](const FaultAt& each) {
        const std::vector<FaultKind>& faults = each.faults;
        return report.at(each.call) && (faults.empty() || std::find(faults.begin(), faults.end(),
                                                                    report.fault) != faults.end());
    });
}

//! Runs an operation; only an automation error may leave it.
void runInto(Stage& stage, Report& report)
{
    try {
        stage.run();
    } catch (const _com_error& error) {
        report.raised = true;
        report.code = error.Error();
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        ADD_FAILURE() << "a kernel failure: " << failure->ClassName() << ": " << failure->Message();
    } catch (const std::exception& error) {
        ADD_FAILURE() << "an exception of no kind that may come: " << error.what();
    }
}

//! Runs the operation twice without a fault.
//! @return the calls of the first run
std::vector<standin::JournalEntry> runCleanly(const Operation& operation)
{
    SCOPED_TRACE(operation.name + " without a fault");
    const support::CensusGuard guard;
    const LogCapture log;
    const std::unique_ptr<Stage> stage = operation.stage();
    stage->host.journal().clear();
    stage->host.journal().record(true);
    Report report;
    runInto(*stage, report);
    std::vector<standin::JournalEntry> calls = stage->host.journal().entries();
    EXPECT_FALSE(report.raised);
    EXPECT_EQ(stage->flaw(), "") << stage->host.journal().text();
    expectSilence(log, operation.rules);
    stage->renew();
    Report second;
    runInto(*stage, second);
    EXPECT_FALSE(second.raised);
    EXPECT_EQ(stage->flaw(), "") << "the second time";
    return calls;
}

//! Calls whose every failure has a line that says where: reads of "Type" and of documents' names,
//! and the binding of a key.
const std::vector<FaultAt> kPlacedCalls = {{"GetIDsOfNames(Type)", {}},     {".Type get(", {}},
                                           {"GetIDsOfNames(FullName)", {}}, {".FullName get(", {}},
                                           {"GetIDsOfNames(Name)", {}},     {".Name get(18)", {}},
                                           {".BindKeyToObject method(", {}}};

//! Tells whether a line has to say where a fault shows. Of other calls those faults have one that
//! give no object, or an array that can't be copied.
bool showsPlace(const Rules& rules, const Report& report, const FaultCase& fault)
{
    if (isAmong(kPlacedCalls, report) || isAmong(rules.masked, report)) {
        return true;
    }
    if (isAmong(rules.unplaced, report)) {
        return false;
    }
    switch (fault.kind) {
    case FaultKind::refuseInterface:
        return fault.code == E_NOINTERFACE;
    case FaultKind::nullObject:
    case FaultKind::noResult:
        return true;
    case FaultKind::nullArray:
    case FaultKind::emptyArray:
    case FaultKind::shortArray:
    case FaultKind::otherElementType:
        return report.code != E_INVALIDARG; // which the host answers to an array handed back
    default:
        return false;
    }
}

//! What the faults of an operation have come to.
struct Tally
{
    long reported{};
    long harmless{}; //!< the result is right all the same
    long passed{};   //!< allowed to be passed over
};

//! Tells whether what comes of a fault may be right by what is not needed of the answer.
bool mayBeHarmless(FaultKind kind)
{
    return kind != FaultKind::fail && kind != FaultKind::nullArray &&
           kind != FaultKind::emptyArray && kind != FaultKind::otherElementType;
}

void judge(const Operation& operation, const FaultCase& fault, Stage& stage, Report& report,
           Tally& tally)
{
    const Rules& rules = operation.rules;
    if (report.raised) {
        EXPECT_TRUE(rules.raises) << "an error left the operation";
        EXPECT_TRUE(report.caught.empty()) << "an error that has ended left the operation";
    }
    report.reported = report.raised || !report.caught.empty();
    if (report.reported) {
        ++tally.reported;
        const std::vector<HRESULT> codes =
            isAmong(rules.masked, report) ? std::vector<HRESULT>{E_POINTER} : codesOf(fault);
        EXPECT_EQ(report.placed, showsPlace(rules, report, fault))
            << "whether a line tells where the fault shows";
        EXPECT_TRUE(isOneOf(report.code, codes)) << "reported as " << std::hex << report.code;
        EXPECT_EQ(stage.damage(report), "");
        return;
    }
    const std::string flaw = stage.flaw();
    if (mayBeHarmless(fault.kind) && flaw.empty()) {
        ++tally.harmless;
        return;
    }
    ++tally.passed;
    EXPECT_TRUE(isAmong(rules.quiet, report)) << "nothing was reported; " << flaw;
    EXPECT_EQ(stage.damage(report), "");
}

//! Runs an operation in a new world with one fault, and once more without.
//! @param clean  the calls without a fault
//! @param nth    of the calls that the fault can strike, from 1
//! @return       whether there was such a call
bool strike(const Operation& operation, const FaultCase& fault,
            const std::vector<standin::JournalEntry>& clean, long nth, Tally& tally)
{
    // Declared first, so that it still stands when the guard looks for what is left.
    std::optional<testing::ScopedTrace> trace;
    const support::CensusGuard guard;
    LogCapture log;
    const std::unique_ptr<Stage> stage = operation.stage();
    standin::Session& host = stage->host;
    Fault entry;
    entry.kind = fault.kind;
    entry.code = fault.code;
    entry.asException = fault.asException;
    entry.nth = nth;
    if (fault.ofIdentity) {
        entry.iid = IID_IUnknown;
    }
    host.faults().add(entry);
    host.journal().clear();
    host.journal().record(true);

    Report report;
    report.fault = fault.kind;
    runInto(*stage, report);
    const bool fired = host.faults().fired();
    host.faults().clear();
    host.journal().record(false);
    if (!fired) {
        return false;
    }
    for (const standin::JournalEntry& call : host.journal().entries()) {
        if (call.faulty) {
            report.call = call;
        }
    }
    const auto number = static_cast<std::size_t>(report.call.number);
    if (fault.kind == FaultKind::noResult &&
        (number > clean.size() || clean[number - 1].answer != "object")) {
        return true; // as a number or a text, nothing is zero or empty
    }
    trace.emplace(__FILE__, __LINE__,
                  operation.name + ", call " + report.call.text() + ", fault: " + fault.name);
    LogReader(operation.rules, report).read(withoutOwnLines(log.Lines(), operation.rules));
    judge(operation, fault, *stage, report, tally);

    log.Forget();
    stage->renew();
    Report again;
    runInto(*stage, again);
    EXPECT_FALSE(again.raised) << "the next time, without a fault";
    EXPECT_EQ(stage->flaw(), "") << "the next time, without a fault";
    expectSilence(log, operation.rules);
    return true;
}

} // namespace

IDispatchPtr openAt(standin::Session& host, Where where)
{
    if (where == Where::part) {
        return support::openBody(host, support::plainBox(), "C:\\parts\\box.par");
    }
    host.openAssembly(support::viceModel(), "C:\\jobs\\vice.asm");
    return host.document("C:\\jobs\\vice.asm!jaw");
}

bool Report::caughtIn(const std::string& function) const
{
    return std::find(caught.begin(), caught.end(), function) != caught.end();
}

bool Report::at(const std::string& text) const
{
    return call.text().find(text) != std::string::npos;
}

Stage::Stage()
{
    ktmdl_Topo::ClearAllTopos();
}

Stage::~Stage()
{
    ktstd_Session::SetCurSession(Hnd_ktstd_Session());
    ktmdl_Topo::ClearAllTopos();
}

void PrintTo(const Operation& operation, std::ostream* stream)
{
    *stream << operation.name;
}

TEST_P(FaultSweep, EveryFaultAtEveryCallEndsAsItShould)
{
    const Operation& operation = GetParam();
    const std::vector<standin::JournalEntry> clean = runCleanly(operation);
    const auto calls = static_cast<long>(clean.size());
    ASSERT_GT(calls, 0);
    Tally tally;
    for (const FaultCase& fault : kFaults) {
        long nth = 1;
        while (strike(operation, fault, clean, nth, tally)) {
            ++nth;
            ASSERT_LE(nth, 2 * calls) << fault.name << " never stops striking";
        }
    }
    EXPECT_GT(tally.reported, 0);
    std::printf("%s: %ld calls; faults: %ld reported, %ld harmless, %ld passed over\n",
                operation.name.c_str(), calls, tally.reported, tally.harmless, tally.passed);
}

} // namespace sweep
