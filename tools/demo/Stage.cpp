#include "demo/Stage.h"

#include "com/ComErrorText.h"
#include "demo/Automation.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_Debug.h"
#include "ktstd/ktstd_Session.h"
#include "ktstd/ktstd_fail.h"
#include "standin/step/StepFile.h"

#include <chrono>
#include <fstream>
#include <new>
#include <numeric>
#include <optional>

namespace demo {
namespace {

//! A folder of its own in the temporary folder, gone with the object.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        const std::filesystem::path root = std::filesystem::temp_directory_path();
        const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
        for (long attempt = 0; attempt < 100; ++attempt) {
            mPath = root / ("ktmdl-demo-" + std::to_string(ticks + attempt));
            if (std::filesystem::create_directory(mPath)) {
                return;
            }
        }
        throw DemoError("can't make a temporary folder in " + root.u8string());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return mPath; }

private:
    std::filesystem::path mPath;
};

//! The kernel's session and log.
class KernelScope
{
public:
    explicit KernelScope(const std::string& logPath)
    {
        ktstd_Debug::SetLogPath(logPath.c_str());
        ktstd_Session::SetCurSession(Hnd_ktstd_Session(new ktstd_Session()));
    }
    KernelScope(const KernelScope&) = delete;
    KernelScope& operator=(const KernelScope&) = delete;
    ~KernelScope()
    {
        ktmdl_Topo::ClearAllTopos();
        ktstd_Session::SetCurSession(Hnd_ktstd_Session());
        ktstd_Debug::SetLogPath("");
    }
};

} // namespace

void onStage(const std::string& out, const std::function<void(const std::filesystem::path&)>& work)
{
    try {
        std::optional<TemporaryFolder> temporary;
        std::filesystem::path folder = std::filesystem::u8path(out);
        if (out.empty()) {
            folder = temporary.emplace().path();
        } else {
            std::filesystem::create_directories(folder);
        }
        const KernelScope kernel((folder / "ktstd.log").u8string());
        work(folder);
    } catch (const _com_error& error) {
        throw DemoError(std::string("the host failed: ") + com::errorText(error.Error()));
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        throw DemoError(failure->Message());
    } catch (const standin::HostError& error) {
        throw DemoError(error.what());
    } catch (const standin::step::StepError& error) {
        throw DemoError(error.what());
    } catch (const std::filesystem::filesystem_error& error) {
        throw DemoError(error.what());
    } catch (const std::bad_alloc&) {
        throw DemoError("out of memory");
    }
}

std::vector<std::string> logLines()
{
    ktstd_Debug::LogPrint().flush();
    std::ifstream log(std::filesystem::u8path(ktstd_Debug::LogPath()), std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string lastLogLine()
{
    const std::vector<std::string> lines = logLines();
    return lines.empty() ? std::string() : ": " + lines.back();
}

std::vector<std::size_t> outermost(const standin::geom::Model& model)
{
    std::vector<std::size_t> found;
    for (const std::size_t root : model.roots) {
        const standin::geom::Product& product = model.products.at(root);
        if (!product.bodies.empty() || !product.occurrences.empty()) {
            found.push_back(root);
        }
    }
    return found;
}

std::string documentName(const std::string& file, std::size_t index, std::size_t count)
{
    return count > 1 ? file + "!" + std::to_string(index + 1) : file;
}

std::string fileName(const std::string& path)
{
    return std::filesystem::u8path(path).filename().u8string();
}

bool isAssembly(const IDispatchPtr& document)
{
    return longProperty(document, L"Type") == ktmdl_host::igAssemblyDocument;
}

long Effort::totalCalls() const
{
    return std::accumulate(calls.begin(), calls.end(), 0L,
                           [](long sum, const auto& step) { return sum + step.second; });
}

double Effort::totalSeconds() const
{
    return std::accumulate(seconds.begin(), seconds.end(), 0.0,
                           [](double sum, const auto& step) { return sum + step.second; });
}

double runStep(standin::Session& host, Effort& effort, const std::string& name,
               const std::function<void()>& work)
{
    const long callsBefore = host.journal().calls();
    const auto start = std::chrono::steady_clock::now();
    work();
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    effort.seconds.emplace_back(name, seconds);
    effort.calls.emplace_back(name, host.journal().calls() - callsBefore);
    return seconds;
}

} // namespace demo
