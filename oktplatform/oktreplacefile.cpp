// SPDX-License-Identifier: MIT
#include <oktplatform/oktreplacefile.h>

#include <oktplatform/oktreplacecalls.h>

#include <atomic>
#include <new>
#include <string>
#include <system_error>

namespace
{
namespace fs = std::filesystem;
using OktSystem::kNoFile;

std::atomic<OktSystem::ReplaceCalls *> g_calls = nullptr;

/// Beyond it, a name with more around it could be too long for a file system.
constexpr std::size_t kLongestName = 200;
constexpr char const *kPart = ".saving.part";
constexpr char const *kOld = ".before.part";

/// Tells names apart that are too long to be part of another name.
std::string shortName(fs::path const &name)
{
    constexpr std::uint64_t kStart = 14695981039346656037u; // FNV-1a
    constexpr std::uint64_t kFactor = 1099511628211u;
    std::uint64_t sum = kStart;
    for (auto const unit : name.native())
        sum = (sum ^ static_cast<std::uint64_t>(unit)) * kFactor;
    std::string text;
    for (int i = 0; i < 16; ++i, sum >>= 4)
        text += "0123456789abcdef"[sum & 15];
    return text;
}

fs::path beside(fs::path const &target, char const *ending)
{
    fs::path const own = target.filename();
    fs::path name = ".";
    name += own.native().size() > kLongestName ? fs::path(shortName(own)) : own;
    name += ending;
    return target.parent_path() / name;
}

CString textOf(fs::path const &path)
{
    auto const utf8 = path.u8string();
    return CString::FromUtf8({reinterpret_cast<char const *>(utf8.data()), utf8.size()});
}

OktSaveRefusal refusalOf(int error) { return {error == 0 ? OktSaveStatus::Saved : OktSystem::saveStatusOf(error), error}; }

/// The path of what is to be replaced, and a look at it.
OktSaveRefusal look(CString const &text, fs::path &target, OktSystem::ReplaceTarget &found)
{
    if (text.IsEmpty() || !OktSystem::pathOfText(text.GetString(), static_cast<std::size_t>(text.GetLength()), target))
        return {OktSaveStatus::NoPath, 0};
    if (int const error = OktSystem::followLinks(target); error != 0)
        return refusalOf(error);
    OktSaveRefusal const refusal = OktSystem::openTarget(target, beside(target, kOld), found);
    if (refusal.status == OktSaveStatus::Saved && target.filename().empty())
        return {OktSaveStatus::NoPath, 0};
    return refusal;
}
} // namespace

OktSystem::ReplaceCalls &OktSystem::replaceCalls()
{
    static ReplaceCalls system;
    ReplaceCalls *const others = g_calls;
    return others != nullptr ? *others : system;
}

void OktSystem::setReplaceCalls(ReplaceCalls *calls) { g_calls = calls; }

// --- One replacement ---------------------------------------------------------------------------------------------------------

struct OktFileReplacement::State
{
    State() = default;
    State(State const &) = delete;
    State &operator=(State const &) = delete;
    /// What is not in place is removed while its lock is held, so that it is nobody else's. A second name of the target cannot be
    /// removed everywhere while the target is open.
    ~State()
    {
        OktSystem::closeReplaceFile(target.file);
        if (hasOld && !isOldKept)
            calls.remove(old);
        if (hasPart)
            calls.remove(part);
        OktSystem::closeReplaceFile(file);
        OktSystem::closeReplaceFile(folder);
    }

    OktSystem::ReplaceCalls &calls = OktSystem::replaceCalls();
    fs::path path; ///< of the target, behind links
    fs::path part;
    fs::path old;
    OktSystem::ReplaceTarget target;
    std::intptr_t file = kNoFile;
    std::intptr_t folder = kNoFile;
    bool hasPart = false;
    bool hasOld = false;
    bool isOldKept = false;
    bool isFlushed = false;
    bool isInPlace = false;
};

OktFileReplacement::OktFileReplacement() noexcept = default;

OktFileReplacement::~OktFileReplacement() = default;

/// The first reason stands.
bool OktFileReplacement::refuse(OktSaveStatus status, int systemError) noexcept
{
    if (m_refusal.status == OktSaveStatus::Saved)
        m_refusal = {status, systemError};
    if (m_state != nullptr && !m_state->isOldKept)
        m_state.reset();
    return false;
}

bool OktFileReplacement::begin(CString const &path) noexcept
try
{
    m_state.reset();
    m_refusal = {};
    m_state = std::make_unique<State>();
    State &state = *m_state;
    OktSaveRefusal refusal = look(path, state.path, state.target);
    if (refusal.status != OktSaveStatus::Saved)
        return refuse(refusal.status, refusal.systemError);
    state.part = beside(state.path, kPart);
    state.old = beside(state.path, kOld);
    fs::path const folder = state.path.has_parent_path() ? state.path.parent_path() : fs::path(".");
    int error = OktSystem::openFolder(folder, state.folder);
    if (error == 0)
        error = state.calls.createPart(state.part, state.target.isThere, state.file);
    if (error != 0)
        return refuse(OktSystem::saveStatusOf(error), error);
    state.hasPart = true;
    // Whoever had the lock before and left this name is gone.
    if (std::error_code ignored; fs::exists(fs::symlink_status(state.old, ignored)))
    {
        // It may be a second name of the target, which is not removed everywhere before the target is closed.
        bool const wasThere = state.target.isThere;
        OktSystem::closeReplaceFile(state.target.file);
        state.target = {};
        state.calls.remove(state.old);
        refusal = OktSystem::openTarget(state.path, state.old, state.target);
        if (refusal.status != OktSaveStatus::Saved)
            return refuse(refusal.status, refusal.systemError);
        if (state.target.isThere != wasThere)
            return refuse(OktSaveStatus::Changed);
    }
    if (!OktSystem::isSameTarget(state.path, state.target))
        return refuse(OktSaveStatus::Changed);
    if (!state.target.isThere)
        return true;
    if (!OktSystem::hasOneName(state.target))
        return refuse(OktSaveStatus::SeveralNames);
    refusal = OktSystem::keepAttributes(state.target, state.file);
    return refusal.status == OktSaveStatus::Saved || refuse(refusal.status, refusal.systemError);
}
catch (std::bad_alloc const &)
{
    return refuse(OktSaveStatus::NoMemory);
}
catch (...)
{
    return refuse(OktSaveStatus::NoPath); // it cannot be written in the system's encoding
}

bool OktFileReplacement::write(void const *bytes, std::size_t count) noexcept
try
{
    if (m_state == nullptr || m_state->isFlushed)
        return refuse(OktSaveStatus::Failed);
    int const error = m_state->calls.write(m_state->file, bytes, count);
    return error == 0 || refuse(OktSystem::saveStatusOf(error), error);
}
catch (...)
{
    return refuse(OktSaveStatus::NoMemory);
}

bool OktFileReplacement::flush() noexcept
try
{
    if (m_state == nullptr)
        return refuse(OktSaveStatus::Failed);
    State &state = *m_state;
    if (state.isFlushed)
        return true;
    // Writing takes some permissions and attributes away.
    OktSaveRefusal const refusal =
        state.target.isThere ? OktSystem::keepAttributes(state.target, state.file) : OktSaveRefusal();
    if (refusal.status != OktSaveStatus::Saved)
        return refuse(refusal.status, refusal.systemError);
    int const error = state.calls.flush(state.file);
    if (error != 0)
        return refuse(OktSystem::saveStatusOf(error), error);
    state.isFlushed = true;
    return true;
}
catch (...)
{
    return refuse(OktSaveStatus::NoMemory);
}

bool OktFileReplacement::place() noexcept
{
    State &state = *m_state;
    if (!OktSystem::isSameTarget(state.path, state.target))
        return refuse(OktSaveStatus::Changed);
    int const error = state.calls.place(state.file, state.part, state.target, state.path);
    if (error != 0)
        return refuse(OktSystem::saveStatusOf(error), error);
    state.hasPart = false;
    state.isInPlace = true;
    return true;
}

bool OktFileReplacement::flushFolder() noexcept
{
    int const error = m_state->folder == kNoFile ? 0 : m_state->calls.flushFolder(m_state->folder);
    return error == 0 || refuse(OktSaveStatus::NotFlushed, error);
}

bool OktFileReplacement::commit() noexcept
{
    if (!flush() || !place())
        return false;
    OktSystem::releaseReplaceFile(m_state->file);
    if (!flushFolder())
        return false;
    m_state.reset();
    return true;
}

// --- Several ones ------------------------------------------------------------------------------------------------------------

/// The file keeps its own name meanwhile, so that it is never without one.
bool OktFileReplacement::keepOld() noexcept
try
{
    State &state = *m_state;
    if (!state.target.isThere)
        return true;
    state.hasOld = true; // also what is left of a copy
    int const error = state.calls.addName(state.path, state.old);
    return error == 0 || refuse(OktSystem::saveStatusOf(error), error);
}
catch (...)
{
    return refuse(OktSaveStatus::NoMemory);
}

void OktFileReplacement::takeBack() noexcept
{
    State &state = *m_state;
    state.isInPlace = false;
    if (!state.target.isThere)
        state.calls.remove(state.path);
    else if (state.calls.giveBack(state.old, state.path) == 0)
        state.hasOld = false;
    else
        state.isOldKept = true;
}

OktFileReplacement *OktFileReplacement::commitTogether(OktFileReplacement *const *files, std::size_t count) noexcept
{
    OktFileReplacement *failed = nullptr;
    auto const each = [&](std::size_t most, bool (OktFileReplacement::*step)()) {
        for (std::size_t i = 0; i < most && failed == nullptr; ++i)
            if (!(files[i]->*step)())
                failed = files[i];
    };
    each(count, &OktFileReplacement::flush);
    each(count == 0 ? 0 : count - 1, &OktFileReplacement::keepOld); // when the last one fails, it has replaced nothing
    each(count, &OktFileReplacement::place);
    for (std::size_t i = count; failed != nullptr && i-- > 0;)
        if (files[i]->m_state != nullptr && files[i]->m_state->isInPlace)
            files[i]->takeBack();
    bool const areInPlace = failed == nullptr;
    for (std::size_t i = 0; i < count; ++i)
    {
        OktFileReplacement &file = *files[i];
        if (areInPlace && !file.flushFolder() && failed == nullptr) // the others are flushed all the same
            failed = &file;
        if (file.m_state != nullptr && !file.m_state->isOldKept)
            file.m_state.reset();
    }
    return failed;
}

CString OktFileReplacement::partPath() const { return m_state == nullptr ? CString() : textOf(m_state->part); }

CString OktFileReplacement::oldPath() const { return m_state == nullptr ? CString() : textOf(m_state->old); }

bool OktFileReplacement::isOldKept() const noexcept { return m_state != nullptr && m_state->isOldKept; }

// --- In one call -------------------------------------------------------------------------------------------------------------

OktSaveRefusal OktCheckReplaceable(CString const &path) noexcept
try
{
    fs::path target;
    OktSystem::ReplaceTarget found;
    OktSaveRefusal const refusal = look(path, target, found);
    OktSystem::closeReplaceFile(found.file);
    return refusal;
}
catch (std::bad_alloc const &)
{
    return {OktSaveStatus::NoMemory, 0};
}
catch (...)
{
    return {OktSaveStatus::NoPath, 0};
}

OktSaveRefusal OktReplaceFile(CString const &path, void const *bytes, std::size_t count) noexcept
{
    OktFileReplacement file;
    if (file.begin(path) && file.write(bytes, count))
        file.commit();
    return file.refusal();
}
