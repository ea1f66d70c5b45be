// SPDX-License-Identifier: MIT
#pragma once

#include "support/bytetext.h"
#include "support/files.h"
#include "support/process.h"

#include "support/poolmaker.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

/// A file with one stretch replaced.
struct Damage
{
    std::size_t begin;
    std::size_t end;
    std::string instead;

    std::string of(std::string const &whole) const { return whole.substr(0, begin) + instead + whole.substr(end); }
};

enum class DamageKind
{
    Flip,
    Hole,
    CutOff
};

inline Damage randomDamage(DamageKind kind, std::string const &whole, std::mt19937 &random)
{
    std::size_t const at = random() % whole.size();
    if (kind == DamageKind::Flip)
        return {at, at + 1, std::string(1, static_cast<char>(static_cast<unsigned char>(whole[at]) ^ (1 + random() % 255)))};
    if (kind == DamageKind::CutOff)
        return {at, whole.size(), ""};
    return {at, std::min(whole.size(), at + std::max<std::size_t>(1, whole.size() / 100)), ""};
}

/// The golden files, all templates of okt build, which are made in this folder, and random pools: by name.
inline std::vector<std::pair<std::string, std::string>> filesToDamage(ScratchFolder const &folder)
{
    namespace fs = std::filesystem;
    std::vector<std::pair<std::string, std::string>> files;
    for (fs::directory_entry const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
        if (entry.path().extension() == ".okt")
            files.emplace_back(entry.path().filename().string(), contents(entry.path()));
    EXPECT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data", "-o", folder.path("t").ToUtf8()}).exitCode, 0);
    for (fs::directory_entry const &entry : fs::directory_iterator(folder.path("t").ToUtf8()))
        files.emplace_back(entry.path().filename().string(), contents(entry.path()));
    for (unsigned int seed = 1; seed <= 10; ++seed)
    {
        OKTDbPool pool;
        fillRandomly(pool, seed, 1.0);
        CByteArray image;
        IdMap ids;
        EXPECT_TRUE(pool.saveFiler(image, ids));
        files.emplace_back("random " + std::to_string(seed), textOf(image));
    }
    std::sort(files.begin(), files.end());
    return files;
}
