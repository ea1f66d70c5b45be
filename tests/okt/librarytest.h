// SPDX-License-Identifier: MIT
#pragma once

#include "support/files.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

/// A test with copies of example templates in a folder of its own. They are built once for the program.
class LibraryTest : public FolderTest
{
protected:
    static std::filesystem::path const &built()
    {
        static ScratchFolder const folder;
        static std::filesystem::path const templates = [] {
            std::filesystem::path const path = pathOf(folder.path("t"));
            EXPECT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data", "-o", folder.path("t").ToUtf8()}).exitCode, 0);
            return path;
        }();
        return templates;
    }

    /// Copies a template into "lib", and gives its path.
    std::string take(std::string const &name, std::string const &as = "") const
    {
        std::filesystem::path const to = pathOf(path("lib/" + (as.empty() ? name : as)));
        std::filesystem::create_directories(to.parent_path());
        std::filesystem::remove(to); // MinGW copies over no file
        std::filesystem::copy_file(built() / name, to);
        return path("lib/" + (as.empty() ? name : as));
    }

    /// What a command that must succeed prints.
    static std::string done(std::vector<std::string> const &arguments)
    {
        ProcessResult const result = runOkt(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }

    /// The text without the path of the test's folder.
    std::string shortened(std::string text) const
    {
        std::string const folder = path("");
        for (std::size_t at = 0; (at = text.find(folder, at)) != std::string::npos;)
            text.erase(at, folder.size());
        return text;
    }
};
