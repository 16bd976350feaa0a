//! @file
//! The STEP files that tests run over: the samples always, and the real parts in the folder that
//! the environment variable KTMDL_STEP_DATA names.

#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace support {

//! Gives the folder of the real parts; empty when there is none.
inline std::string stepDataFolder()
{
    const char* folder = std::getenv("KTMDL_STEP_DATA");
    return folder != nullptr ? folder : "";
}

//! Gives the STEP files of a folder in alphabetic order.
inline std::vector<std::string> stepFilesIn(const std::string& folder)
{
    std::vector<std::string> files;
    if (!folder.empty()) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension == ".step" || extension == ".stp") {
                files.push_back(entry.path().generic_string());
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

//! Gives the samples.
inline std::vector<std::string> sampleFiles()
{
    return stepFilesIn(std::string(KT_SOURCE_DIR) + "/samples");
}

//! Gives the samples and the real parts.
inline std::vector<std::string> allStepFiles()
{
    std::vector<std::string> files = sampleFiles();
    const std::vector<std::string> parts = stepFilesIn(stepDataFolder());
    files.insert(files.end(), parts.begin(), parts.end());
    return files;
}

} // namespace support
