// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktreplacecalls.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

/// An error number of this system that says that the disk is full.
#if defined(_WIN32)
inline constexpr int kNoRoomError = 112;
#else
inline constexpr int kNoRoomError = 28;
#endif

/// The steps of a durable save.
enum class ReplaceStep
{
    Create,
    Write,
    Flush,
    Place,
    FlushFolder,
    Remove,
    AddName,
    GiveBack
};

/// The system's own steps with something in front of each; one at a time, in use while it lives. Those of a save are the ones of its
/// beginning.
class WatchedReplaceCalls : public OktSystem::ReplaceCalls
{
public:
    WatchedReplaceCalls() { OktSystem::setReplaceCalls(this); }
    WatchedReplaceCalls(WatchedReplaceCalls const &) = delete;
    WatchedReplaceCalls &operator=(WatchedReplaceCalls const &) = delete;
    ~WatchedReplaceCalls() override { OktSystem::setReplaceCalls(nullptr); }

    int createPart(std::filesystem::path const &part, bool isPrivate, std::intptr_t &file) override;
    int write(std::intptr_t file, void const *bytes, std::size_t count) override;
    int flush(std::intptr_t file) override;
    int place(std::intptr_t &file, std::filesystem::path const &part, OktSystem::ReplaceTarget &found,
              std::filesystem::path const &target) override;
    int flushFolder(std::intptr_t folder) override;
    int remove(std::filesystem::path const &path) override;
    int addName(std::filesystem::path const &file, std::filesystem::path const &second) override;
    int giveBack(std::filesystem::path const &second, std::filesystem::path const &file) override;

protected:
    /// One call. `first` and `second` are names of files without their folder: of what is made, removed or renamed, and its new name.
    struct Call
    {
        ReplaceStep step;
        std::string first;
        std::string second;
        std::string bytes;
    };
    /// The error of a step that is to fail; 0: it is made.
    virtual int before(Call const &call) = 0;
    /// Behind a step that was made.
    virtual void after(Call const &) {}

private:
    template <typename Make> int make(Call const &call, Make step);

    std::map<std::intptr_t, std::string> m_parts; ///< the names of the parts that are open
};

/// Lets the call after `passed` others of a step fail, and no other.
class FailingReplaceCalls : public WatchedReplaceCalls
{
public:
    FailingReplaceCalls(ReplaceStep step, std::size_t passed, int error) : m_error(error) { m_left[step] = passed; }

    void alsoFail(ReplaceStep step, std::size_t passed) { m_left[step] = passed; }

protected:
    int before(Call const &call) override;

private:
    std::map<ReplaceStep, std::size_t> m_left;
    int m_error;
};
