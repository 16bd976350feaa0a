#include "demo/CommandLine.h"

#include <iostream>
#include <string>
#include <vector>

#if defined(_WIN32)
#include "com/Com.h"
#include "com/ComText.h"

#include <shellapi.h>
#endif

namespace {

//! Gives the arguments as UTF-8.
std::vector<std::string> utf8Arguments(int argc, char** argv)
{
    std::vector<std::string> arguments;
#if defined(_WIN32)
    static_cast<void>(argv);
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; wide != nullptr && i < count; ++i) {
        arguments.push_back(com::toUtf8(wide[i], std::char_traits<wchar_t>::length(wide[i])));
    }
    LocalFree(wide);
    static_cast<void>(argc);
#else
    arguments.assign(argv + 1, argv + argc);
#endif
    return arguments;
}

} // namespace

int main(int argc, char** argv)
{
#if defined(_WIN32)
    SetConsoleOutputCP(CP_UTF8);
#endif
    try {
        return demo::run(utf8Arguments(argc, argv), std::cout, std::cerr);
    } catch (const std::exception& problem) {
        std::cerr << "ktmdl-demo: " << problem.what() << "\n";
        return 1;
    }
}
