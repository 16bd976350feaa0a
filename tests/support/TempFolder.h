//! @file
//! A folder of its own for one test, removed with all that is in it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <system_error>

namespace kt_test {

class TempFolder
{
public:
    TempFolder()
    {
        namespace fs = std::filesystem;
        for (int i = 0; mPath.empty() && i < 10000; ++i) {
            const fs::path path = fs::temp_directory_path() / ("kt_test_" + std::to_string(i));
            std::error_code error;
            if (fs::create_directory(path, error)) {
                mPath = path;
            }
        }
        EXPECT_FALSE(mPath.empty());
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }

    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return mPath; }
    //! Gives the path, in UTF-8, of a file in the folder. @param aName  in UTF-8
    [[nodiscard]] std::string File(const std::string& aName) const
    {
        return (mPath / std::filesystem::u8path(aName)).u8string();
    }
    //! Gives the names, in UTF-8, of what is in the folder.
    [[nodiscard]] std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(mPath)) {
            names.insert(entry.path().filename().u8string());
        }
        return names;
    }

private:
    std::filesystem::path mPath;
};

} // namespace kt_test
