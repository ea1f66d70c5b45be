// SPDX-License-Identifier: MIT
#include "support/replacecalls.h"

namespace
{
std::string nameOf(std::filesystem::path const &path) { return path.filename().string(); }
} // namespace

template <typename Make> int WatchedReplaceCalls::make(Call const &call, Make step)
{
    int error = before(call);
    if (error != 0)
        return error;
    error = step();
    if (error == 0)
        after(call);
    return error;
}

int WatchedReplaceCalls::createPart(std::filesystem::path const &part, bool isPrivate, std::intptr_t &file)
{
    return make({ReplaceStep::Create, nameOf(part), "", ""}, [&] {
        int const error = ReplaceCalls::createPart(part, isPrivate, file);
        if (error == 0)
            m_parts[file] = nameOf(part);
        return error;
    });
}

int WatchedReplaceCalls::write(std::intptr_t file, void const *bytes, std::size_t count)
{
    return make({ReplaceStep::Write, m_parts[file], "", std::string(static_cast<char const *>(bytes), count)},
                [&] { return ReplaceCalls::write(file, bytes, count); });
}

int WatchedReplaceCalls::flush(std::intptr_t file)
{
    return make({ReplaceStep::Flush, m_parts[file], "", ""}, [&] { return ReplaceCalls::flush(file); });
}

int WatchedReplaceCalls::place(std::intptr_t &file, std::filesystem::path const &part, OktSystem::ReplaceTarget &found,
                               std::filesystem::path const &target)
{
    return make({ReplaceStep::Place, nameOf(part), nameOf(target), ""},
                [&] { return ReplaceCalls::place(file, part, found, target); });
}

int WatchedReplaceCalls::flushFolder(std::intptr_t folder)
{
    return make({ReplaceStep::FlushFolder, "", "", ""}, [&] { return ReplaceCalls::flushFolder(folder); });
}

int WatchedReplaceCalls::remove(std::filesystem::path const &path)
{
    return make({ReplaceStep::Remove, nameOf(path), "", ""}, [&] { return ReplaceCalls::remove(path); });
}

int WatchedReplaceCalls::addName(std::filesystem::path const &file, std::filesystem::path const &second)
{
    return make({ReplaceStep::AddName, nameOf(file), nameOf(second), ""}, [&] { return ReplaceCalls::addName(file, second); });
}

int WatchedReplaceCalls::giveBack(std::filesystem::path const &second, std::filesystem::path const &file)
{
    return make({ReplaceStep::GiveBack, nameOf(second), nameOf(file), ""},
                [&] { return ReplaceCalls::giveBack(second, file); });
}

int FailingReplaceCalls::before(Call const &call)
{
    auto const found = m_left.find(call.step);
    if (found == m_left.end())
        return 0;
    if (found->second > 0)
    {
        --found->second;
        return 0;
    }
    m_left.erase(found);
    return m_error;
}
