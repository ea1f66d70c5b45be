// SPDX-License-Identifier: MIT
#include "support/replacecalls.h"
#include "support/scratchfolder.h"

#include <oktplatform/oktreplacefile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

// Losses of power. The steps of durable saves are noted, and made again in a model of a disk that is as careless as it may be: of what
// was not flushed, any part may be there and any part not, in any order; only a name changes in one step. Behind each step, and
// whatever of the steps got lost, each file has to be the whole old or the whole new one.

namespace
{
constexpr int kSubsets = 10'000;
constexpr unsigned int kSeed = 20'260'801;

using Names = std::map<std::string, std::string>; // of files, with their contents

struct Step
{
    ReplaceStep step;
    std::string first;
    std::string second;
    std::string bytes;
};

class Recorder : public WatchedReplaceCalls
{
public:
    std::vector<Step> const &steps() const { return m_steps; }
    /// This one fails, as FailingReplaceCalls does it.
    void fail(ReplaceStep step, std::size_t passed)
    {
        m_failing = step;
        m_left = passed;
    }

protected:
    int before(Call const &call) override
    {
        if (m_failing != call.step || m_left-- > 0)
            return 0;
        m_failing.reset();
        return kNoRoomError;
    }
    void after(Call const &call) override { m_steps.push_back({call.step, call.first, call.second, call.bytes}); }

private:
    std::vector<Step> m_steps;
    std::optional<ReplaceStep> m_failing;
    std::size_t m_left = 0;
};

/// What is on the disk behind the first `made` of the steps and a loss of power. `isKept` tells of a step that was not flushed whether it
/// got there all the same; of a write also how many of its bytes.
class Disk
{
public:
    Disk(Names const &old, std::vector<Step> const &steps, std::size_t made,
         std::function<std::size_t(std::size_t most)> const &draw)
    {
        for (auto const &[name, bytes] : old)
            m_names[name] = newFile(bytes);
        for (std::size_t i = 0; i < made; ++i)
            make(steps, i, made, draw);
    }

    Names names() const
    {
        Names all;
        for (auto const &[name, file] : m_names)
            all[name] = m_files[file];
        return all;
    }

private:
    std::size_t newFile(std::string const &bytes)
    {
        m_files.push_back(bytes);
        return m_files.size() - 1;
    }

    void make(std::vector<Step> const &steps, std::size_t i, std::size_t made,
              std::function<std::size_t(std::size_t most)> const &draw)
    {
        Step const &step = steps[i];
        auto const isFlushed = [&](ReplaceStep flush, std::string const &name) {
            return std::any_of(steps.begin() + static_cast<std::ptrdiff_t>(i),
                               steps.begin() + static_cast<std::ptrdiff_t>(made),
                               [&](Step const &later) { return later.step == flush && later.first == name; });
        };
        // A file is what it is for the process, whether its name ever got to the disk or not.
        if (step.step == ReplaceStep::Create)
            m_open[step.first] = newFile("");
        bool const isOnDisk = isFlushed(ReplaceStep::FlushFolder, "") || draw(1) == 1;
        switch (step.step)
        {
        case ReplaceStep::Create:
            if (isOnDisk)
                m_names[step.first] = m_open[step.first];
            break;
        case ReplaceStep::Write:
        {
            std::string &bytes = m_files[m_open[step.first]];
            std::size_t const count = isFlushed(ReplaceStep::Flush, step.first) ? step.bytes.size() : draw(step.bytes.size());
            bytes += step.bytes.substr(0, count);
            bytes.append(draw(1) == 1 ? step.bytes.size() - count : 0, '\0'); // room that was made, and never filled
            break;
        }
        case ReplaceStep::Place:
            if (isOnDisk)
            {
                m_names[step.second] = m_open[step.first];
                m_names.erase(step.first);
            }
            break;
        case ReplaceStep::GiveBack:
            if (isOnDisk && m_names.contains(step.first))
            {
                m_names[step.second] = m_names[step.first];
                m_names.erase(step.first);
            }
            break;
        case ReplaceStep::AddName:
            if (isOnDisk && m_names.contains(step.first))
                m_names[step.second] = m_names[step.first];
            break;
        case ReplaceStep::Remove:
            if (isOnDisk)
                m_names.erase(step.first);
            break;
        default: break;
        }
    }

    std::vector<std::string> m_files;
    std::map<std::string, std::size_t> m_names;
    std::map<std::string, std::size_t> m_open;
};

struct Expected
{
    Names old;
    Names fresh;
};

/// What is wrong with a disk, or nothing.
std::string wrongOf(Expected const &expected, Names const &found)
{
    for (auto const &[name, bytes] : expected.fresh)
    {
        auto const place = found.find(name);
        auto const before = expected.old.find(name);
        bool const isNew = place != found.end() && place->second == bytes;
        bool const isOld =
            before == expected.old.end() ? place == found.end() : place != found.end() && place->second == before->second;
        if (!isNew && !isOld)
            return name + (place == found.end() ? " is gone" : " is neither the old nor the new one");
    }
    return "";
}

struct Losses
{
    std::size_t tried = 0;
    std::size_t wrong = 0;
    std::string first;
};

Losses tryLosses(Expected const &expected, std::vector<Step> const &steps)
{
    Losses losses;
    auto const look = [&](std::size_t made, std::function<std::size_t(std::size_t)> const &draw) {
        ++losses.tried;
        std::string const wrong = wrongOf(expected, Disk(expected.old, steps, made, draw).names());
        if (!wrong.empty() && losses.wrong++ == 0)
            losses.first = wrong + " behind " + std::to_string(made) + " of " + std::to_string(steps.size()) + " steps";
    };
    // Each step with all of what came before it, as when the process alone ends, and with none that was not flushed.
    for (std::size_t made = 0; made <= steps.size(); ++made)
    {
        look(made, [](std::size_t most) { return most; });
        look(made, [](std::size_t) { return std::size_t{0}; });
    }
    std::minstd_rand random(kSeed);
    for (int i = 0; i < kSubsets; ++i)
        look(random() % (steps.size() + 1), [&](std::size_t most) { return random() / 7 % (most + 1); });
    return losses;
}

class ReplaceModel : public testing::Test
{
protected:
    void put(std::string const &name, std::string const &text)
    {
        CByteArray bytes;
        for (char const c : text)
            bytes.Add(static_cast<BYTE>(c));
        m_folder.put(name, bytes);
    }

    void expectNoLoss(Expected const &expected, std::vector<Step> const &steps)
    {
        Losses const losses = tryLosses(expected, steps);
        EXPECT_EQ(losses.wrong, 0u) << losses.first;
        EXPECT_EQ(losses.tried, 2 * (steps.size() + 1) + kSubsets);
        std::printf("[          ] %zu steps, %zu losses of power\n", steps.size(), losses.tried);
    }

    bool start(OktFileReplacement &file, std::string const &name)
    {
        std::string const &bytes = m_expected.fresh.at(name);
        return file.begin(m_folder.path(name)) && file.write(bytes.data(), bytes.size() / 2) &&
               file.write(bytes.data() + bytes.size() / 2, bytes.size() - bytes.size() / 2);
    }

    ScratchFolder m_folder;
    Expected m_expected = {{{"a", "the old file"}}, {{"a", "the new file, which is longer"}}};
};
} // namespace

TEST_F(ReplaceModel, Replace_AnyLossOfPower_OldOrNew)
{
    put("a", m_expected.old["a"]);
    Recorder recorder;
    OktFileReplacement file;
    ASSERT_TRUE(start(file, "a") && file.commit());
    std::vector<ReplaceStep> order;
    for (Step const &step : recorder.steps())
        order.push_back(step.step);
    std::vector<ReplaceStep> expected = {ReplaceStep::Create, ReplaceStep::Write, ReplaceStep::Write, ReplaceStep::Flush,
                                         ReplaceStep::Place};
#if !defined(_WIN32) // where no folder is flushed
    expected.push_back(ReplaceStep::FlushFolder);
#endif
    EXPECT_EQ(order, expected);
    expectNoLoss(m_expected, recorder.steps());
}

TEST_F(ReplaceModel, Replace_WithoutTheFlush_TheModelFindsTheLoss)
{
    put("a", m_expected.old["a"]);
    Recorder recorder;
    OktFileReplacement file;
    ASSERT_TRUE(start(file, "a") && file.commit());
    std::vector<Step> steps = recorder.steps();
    std::erase_if(steps, [](Step const &step) { return step.step == ReplaceStep::Flush; });
    EXPECT_GT(tryLosses(m_expected, steps).wrong, 100u);
    // And where the name comes ahead of the bytes.
    steps = recorder.steps();
    auto const place = std::find_if(steps.begin(), steps.end(), [](Step const &s) { return s.step == ReplaceStep::Place; });
    std::rotate(steps.begin() + 1, place, place + 1);
    EXPECT_GT(tryLosses(m_expected, steps).wrong, 100u);
}

TEST_F(ReplaceModel, ReplaceBehindALeftover_AnyLossOfPower_OldOrNew)
{
    put("a", m_expected.old["a"]);
    put(".a.saving.part", "left behind");
    m_expected.old[".a.saving.part"] = "left behind";
    Recorder recorder;
    OktFileReplacement file;
    ASSERT_TRUE(start(file, "a") && file.commit());
    expectNoLoss(m_expected, recorder.steps());
}

TEST_F(ReplaceModel, NewFile_AnyLossOfPower_NoneOrNew)
{
    m_expected.old.clear();
    Recorder recorder;
    OktFileReplacement file;
    ASSERT_TRUE(start(file, "a") && file.commit());
    expectNoLoss(m_expected, recorder.steps());
}

TEST_F(ReplaceModel, RefusedAtEachStep_AnyLossOfPower_OldOrNew)
{
    for (ReplaceStep const failing :
         {ReplaceStep::Create, ReplaceStep::Write, ReplaceStep::Flush, ReplaceStep::Place, ReplaceStep::FlushFolder})
    {
        put("a", m_expected.old["a"]);
        Recorder recorder;
        recorder.fail(failing, 0);
        OktFileReplacement file;
        if (start(file, "a"))
            file.commit();
        expectNoLoss(m_expected, recorder.steps());
    }
}

TEST_F(ReplaceModel, SeveralTogether_AnyLossOfPower_EachOldOrNew)
{
    m_expected = {{{"a", "old a"}, {"c", "old c"}}, {{"a", "new contents of a"}, {"b", "new b"}, {"c", "new c"}}};
    // All well, and the last one refused, so that the others are given their old names back.
    for (bool const fails : {false, true})
    {
        for (auto const &[name, bytes] : m_expected.old)
            put(name, bytes);
        Recorder recorder;
        if (fails)
            recorder.fail(ReplaceStep::Place, 2);
        OktFileReplacement files[3];
        ASSERT_TRUE(start(files[0], "a") && start(files[1], "b") && start(files[2], "c"));
        OktFileReplacement *const all[] = {&files[0], &files[1], &files[2]};
        EXPECT_EQ(OktFileReplacement::commitTogether(all, 3), fails ? all[2] : nullptr);
        expectNoLoss(m_expected, recorder.steps());
        std::filesystem::remove(pathOf(m_folder.path("b")));
    }
}
