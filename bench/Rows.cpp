#include "Rows.h"

#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <stdexcept>

namespace bench {

namespace {

std::vector<Row>& rows()
{
    static std::vector<Row> all;
    return all;
}

//! Processor time of this thread in seconds: what other programs do meanwhile doesn't count.
double processorTime() noexcept
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void runSide(benchmark::State& aState, const Side& aSide)
{
    const Steps steps = aSide.prepare();
    for ([[maybe_unused]] auto pass : aState) {
        if (steps.before) {
            steps.before();
        }
        const double start = processorTime();
        steps.timed();
        aState.SetIterationTime(processorTime() - start);
        if (steps.after) {
            steps.after();
        }
    }
}

//! Collects the time of a pass from each repetition.
class Times : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& aRuns) override
    {
        for (const Run& run : aRuns) {
            if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
                mSeconds[run.run_name.function_name].push_back(run.real_accumulated_time /
                                                               static_cast<double>(run.iterations));
            }
        }
    }
    [[nodiscard]] double Median(const std::string& aName) const
    {
        std::vector<double> seconds = mSeconds.at(aName);
        std::sort(seconds.begin(), seconds.end());
        const std::size_t half = seconds.size() / 2;
        return seconds.size() % 2 == 1 ? seconds[half] : (seconds[half - 1] + seconds[half]) / 2.0;
    }

private:
    std::map<std::string, std::vector<double>> mSeconds;
};

std::string readable(double aSeconds)
{
    char text[32];
    const double nanoseconds = aSeconds * 1e9;
    if (nanoseconds < 1e3) {
        std::snprintf(text, sizeof(text), "%.1f ns", nanoseconds);
    } else if (nanoseconds < 1e6) {
        std::snprintf(text, sizeof(text), "%.1f us", nanoseconds / 1e3);
    } else {
        std::snprintf(text, sizeof(text), "%.2f ms", nanoseconds / 1e6);
    }
    return text;
}

//! Does something in a process of its own, so that no row meets the heap that others leave behind.
//! @return  the numbers that it gives
//! @throws std::runtime_error  it failed
std::vector<double> apart(const std::function<std::vector<double>()>& aWork)
{
    int ends[2] = {};
    std::fflush(stdout);
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = fork();
    if (child == 0) {
        bool isDone = false;
        try {
            const std::vector<double> numbers = aWork();
            const auto bytes = static_cast<ssize_t>(numbers.size() * sizeof(double));
            isDone = write(ends[1], numbers.data(), static_cast<std::size_t>(bytes)) == bytes;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        std::_Exit(isDone ? 0 : 1);
    }
    close(ends[1]);
    std::vector<double> numbers;
    for (double number = 0.0; read(ends[0], &number, sizeof(number)) == sizeof(number);) {
        numbers.push_back(number);
    }
    close(ends[0]);
    int status = 1;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("a row ended before its end");
    }
    return numbers;
}

//! Slope of the straight line nearest to the points, both axes logarithmic.
double slopeOf(const std::vector<std::pair<long, double>>& aTimes)
{
    double sx = 0.0;
    double sy = 0.0;
    double sxx = 0.0;
    double sxy = 0.0;
    for (const auto& [size, seconds] : aTimes) {
        const double x = std::log(static_cast<double>(size));
        const double y = std::log(seconds);
        sx += x;
        sy += y;
        sxx += x * x;
        sxy += x * y;
    }
    const auto n = static_cast<double>(aTimes.size());
    return (n * sxy - sx * sy) / (n * sxx - sx * sx);
}

class Table
{
public:
    Table()
    {
        std::printf("%-34s %9s %12s  %-22s %12s %8s %6s\n", "row", "size", "ours", "peer",
                    "its time", "ratio", "aim");
    }

    //! @param aSeconds  of a pass of ours, then of each peer
    void Add(const Row& aRow, const std::vector<double>& aSeconds)
    {
        const double ours = aSeconds.front();
        mGrowth[aRow.name].emplace_back(aRow.size, ours);
        for (std::size_t i = 0; i < aRow.peers.size(); ++i) {
            const Side& peer = aRow.peers[i];
            const double theirs = aSeconds.at(i + 1);
            const double ratio = theirs / ours;
            nlohmann::json line = {{"name", aRow.name}, {"size", aRow.size},   {"ours", ours},
                                   {"peer", peer.name}, {"peer_time", theirs}, {"ratio", ratio},
                                   {"aim", nullptr}};
            if (peer.aim > 0.0) {
                line["aim"] = peer.aim;
                line["met"] = ratio >= peer.aim;
            }
            if (peer.measure) {
                line["bytes"] = aRow.ours.bytes;
                line["peer_bytes"] = peer.bytes;
            }
            if (aRow.bytesRead > 0.0) {
                const double perSecond = benchmark::CPUInfo::Get().cycles_per_second;
                line["bytes_per_cycle"] = aRow.bytesRead / (ours * perSecond);
                line["peer_bytes_per_cycle"] = aRow.bytesRead / (theirs * perSecond);
            }
            mLines.push_back(line);
            char aim[16] = "";
            if (peer.aim > 0.0) {
                std::snprintf(aim, sizeof(aim), "%.2f%s", peer.aim, ratio >= peer.aim ? "" : " !");
            }
            std::printf("%-34s %9ld %12s  %-22s %12s %8.2f %6s\n", aRow.name.c_str(), aRow.size,
                        readable(ours).c_str(), peer.name.c_str(), readable(theirs).c_str(), ratio,
                        aim);
            if (aRow.bytesRead > 0.0) {
                std::printf("%-34s %9s %12.2f  %-22s %12.2f\n", "  bytes per cycle", "",
                            mLines.back()["bytes_per_cycle"].get<double>(), "",
                            mLines.back()["peer_bytes_per_cycle"].get<double>());
            }
        }
        std::fflush(stdout);
    }

    void AddMemory(const Row& aRow)
    {
        for (const Side& peer : aRow.peers) {
            if (peer.measure) {
                mMemory.push_back({{"name", aRow.name},
                                   {"size", aRow.size},
                                   {"bytes", aRow.ours.bytes},
                                   {"peer", peer.name},
                                   {"peer_bytes", peer.bytes}});
            }
        }
    }

    //! Prints what only all rows together show.
    void Finish()
    {
        for (const auto& [name, times] : mGrowth) {
            if (times.size() < 2) {
                continue;
            }
            const double slope = slopeOf(times);
            std::printf("%-34s grows with its size to the power of %.2f\n", name.c_str(), slope);
            for (nlohmann::json& line : mLines) {
                if (line["name"] == name) {
                    line["slope"] = slope;
                }
            }
        }
        if (!mMemory.empty()) {
            std::printf("\n%-34s %9s %12s  %-22s %12s\n", "bytes per element", "size", "ours",
                        "peer", "its bytes");
        }
        for (const nlohmann::json& line : mMemory) {
            std::printf("%-34s %9ld %12.1f  %-22s %12.1f\n",
                        line["name"].get<std::string>().c_str(), line["size"].get<long>(),
                        line["bytes"].get<double>(), line["peer"].get<std::string>().c_str(),
                        line["peer_bytes"].get<double>());
        }
    }

    void Write(const std::string& aPath) const
    {
        std::ofstream file(aPath);
        file << nlohmann::json{{"seconds_per", "one pass over the elements"},
                               {"bytes_per", "element"},
                               {"rows", mLines},
                               {"memory", mMemory}}
                    .dump(1)
             << "\n";
        if (!file.flush()) {
            throw std::runtime_error("can't write \"" + aPath + "\"");
        }
    }

private:
    std::vector<nlohmann::json> mLines;
    std::vector<nlohmann::json> mMemory;
    std::map<std::string, std::vector<std::pair<long, double>>> mGrowth;
};

//! Compares the results of all sides of a row, then times them.
//! @return  seconds per pass of ours, then of each peer
std::vector<double> run(const Row& aRow)
{
    const std::string difference = aRow.check ? aRow.check() : "";
    if (!difference.empty()) {
        throw std::runtime_error(aRow.name + ", " + std::to_string(aRow.size) +
                                 ": the results differ: " + difference);
    }
    const auto enter = [](const std::string& name, const Side& side) {
        benchmark::RegisterBenchmark(name.c_str(), [&side](benchmark::State& state) {
            runSide(state, side);
        })->UseManualTime();
    };
    enter("ours", aRow.ours);
    for (const Side& peer : aRow.peers) {
        enter(peer.name, peer);
    }
    Times times;
    benchmark::RunSpecifiedBenchmarks(&times);
    const auto repeats = static_cast<double>(aRow.repeats);
    std::vector<double> seconds = {times.Median("ours") / repeats};
    for (const Side& peer : aRow.peers) {
        seconds.push_back(times.Median(peer.name) / repeats);
    }
    return seconds;
}

//! Measures the memory of all sides that tell how.
void measure(Row& aRow)
{
    const auto of = [](Side& side) {
        if (side.measure) {
            side.bytes = apart([&side] { return std::vector<double>{side.measure()}; }).at(0);
        }
    };
    of(aRow.ours);
    std::for_each(aRow.peers.begin(), aRow.peers.end(), of);
}

} // namespace

void add(Row aRow)
{
    rows().push_back(std::move(aRow));
}

Steps timedOnly(std::function<void()> aTimed)
{
    return {nullptr, std::move(aTimed), nullptr};
}

void consume(const void* aResult) noexcept
{
    benchmark::DoNotOptimize(aResult);
    benchmark::ClobberMemory();
}

long heapBytes() noexcept
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<long>(info.uordblks + info.hblkhd);
}

} // namespace bench

int main(int argc, char** argv)
{
    CLI::App app{"Times the libraries beside what a user would take instead."};
    std::string only;
    std::string path;
    long smallest = 1;
    long largest = 1000000;
    bool smoke = false;
    bool list = false;
    app.add_option("--only", only, "Rows whose name matches this regular expression");
    app.add_option("--json", path, "File for the results");
    app.add_option("--smallest", smallest, "Leave out smaller sizes");
    app.add_option("--largest", largest, "Leave out larger sizes");
    app.add_flag("--smoke", smoke,
                 "Run each row once, of its sizes the first two, to see that it works");
    app.add_flag("--list", list, "Tell the rows: what is measured, name, size and peer");
    CLI11_PARSE(app, argc, argv);

    std::vector<std::string> options = {argv[0], "--benchmark_enable_random_interleaving=true"};
    options.emplace_back(smoke ? "--benchmark_repetitions=1" : "--benchmark_repetitions=11");
    options.emplace_back(smoke ? "--benchmark_min_time=0" : "--benchmark_min_time=0.02");
    std::vector<char*> arguments;
    for (std::string& option : options) {
        arguments.push_back(option.data());
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    bench::addGeometry();
    bench::addSequences();
    bench::addHandles();
    bench::addHash();
    bench::addRegistry();
    bench::addArchives();
    bench::addLoops();
    bench::addHostShare();

    const std::regex wanted(only);
    std::vector<bench::Row>& all = bench::rows();
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const bench::Row& row) {
                                 return row.size < smallest || row.size > largest ||
                                        !std::regex_search(row.name, wanted);
                             }),
              all.end());
    if (smoke) {
        std::map<std::string, int> sizes;
        all.erase(std::remove_if(all.begin(), all.end(),
                                 [&sizes](const bench::Row& row) { return ++sizes[row.name] > 2; }),
                  all.end());
    }
    if (list) {
        const auto tell = [](const char* what, const bench::Row& row, const bench::Side& peer) {
            std::printf("%s\t%s\t%ld\t%s\n", what, row.name.c_str(), row.size, peer.name.c_str());
        };
        for (const bench::Row& row : all) {
            for (const bench::Side& peer : row.peers) {
                if (row.ours.prepare) {
                    tell("time", row, peer);
                }
                if (peer.measure) {
                    tell("memory", row, peer);
                }
            }
        }
        return 0;
    }
    bench::Table table;
    try {
        benchmark::CPUInfo::Get(); // takes its time, once
        for (bench::Row& row : all) {
            bench::measure(row);
            table.AddMemory(row);
            if (row.ours.prepare) {
                table.Add(row, bench::apart([&row] { return bench::run(row); }));
            }
        }
        table.Finish();
        if (!path.empty()) {
            table.Write(path);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
