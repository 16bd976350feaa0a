#include "ktstd/ktstd_Debug.h"

#include "com/ComText.h"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

struct Log
{
    std::fstream stream;
    std::string givenPath; //!< UTF-8; empty for the default
    std::string path;      //!< UTF-8; where the log is or would be
};

Log& theLog()
{
    static Log sLog;
    return sLog;
}

std::string environmentPath()
{
#if defined(_WIN32)
    const wchar_t* const path = _wgetenv(L"KTSTD_LOG");
    return path != nullptr ? com::toUtf8(path) : std::string();
#else
    const char* const path = std::getenv("KTSTD_LOG");
    return path != nullptr ? path : "";
#endif
}

std::string currentPath(const Log& aLog)
{
    if (!aLog.givenPath.empty()) {
        return aLog.givenPath;
    }
    std::string path = environmentPath();
    if (path.empty()) {
        std::error_code none;
        path = (fs::temp_directory_path(none) / "ktstd.log").u8string();
    }
    return path;
}

//! Opens the log when it is not open, and ends whatever error state it is in.
void makeReady(Log& aLog)
{
    std::fstream& stream = aLog.stream;
    stream.exceptions(std::ios_base::goodbit);
    if (!stream.good()) {
        stream.width(0); // left behind by an output that failed
        stream.clear();
    }
    if (!stream.is_open()) {
        aLog.path = currentPath(aLog);
        stream.open(fs::u8path(aLog.path),
                    std::ios_base::out | std::ios_base::app | std::ios_base::binary);
        stream.clear();
    }
}

} // namespace

std::fstream& ktstd_Debug::LogPrint() noexcept
{
    Log& log = theLog();
    try {
        makeReady(log);
    } catch (...) {
        // What is written vanishes; a log must not disturb anybody. A file opened without a buffer
        // would stay useless.
        log.stream.close();
        log.stream.clear();
    }
    return log.stream;
}

void ktstd_Debug::SetLogPath(const char* aPath)
{
    Log& log = theLog();
    std::string path = aPath != nullptr ? aPath : "";
    log.stream.exceptions(std::ios_base::goodbit);
    log.stream.close();
    log.stream.clear();
    log.givenPath = std::move(path);
}

const char* ktstd_Debug::LogPath()
{
    Log& log = theLog();
    if (!log.stream.is_open()) {
        log.path = currentPath(log);
    }
    return log.path.c_str();
}
