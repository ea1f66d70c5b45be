// SPDX-License-Identifier: MIT
#pragma once

// What stands around each function of the interface. Not installed.

#include <oktc/oktc.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace oktc
{

/// Ends the call with this status. The message is set already.
struct Refused
{
    OktcStatus status;
};

/// Sets the message of this thread and throws Refused.
[[noreturn]] void refuse(OktcStatus status, std::string_view message);

/// The message of this thread. It is kept in memory that is there already, and cut to that.
void setMessage(std::string_view message) noexcept;
char const *message() noexcept;

/// A call that runs on this thread, for its scope. Warnings of the library are noted meanwhile, and not shown.
class Call
{
public:
    Call() noexcept;
    Call(Call const &) = delete;
    Call &operator=(Call const &) = delete;
    ~Call();

    /// A call runs on this thread already: this one is made by a function that it calls back.
    bool isNested() const { return m_isNested; }
    /// The status of the exception that is being handled.
    static OktcStatus statusOfException() noexcept;

private:
    bool m_isNested;
    bool m_isNoting = false;
};

/// Keeps calls waiting that are to be alone. Others run beside each other.
class Beside
{
public:
    Beside();
    Beside(Beside const &) = delete;
    Beside &operator=(Beside const &) = delete;
    ~Beside();
};

/// Keeps all others waiting.
class Alone
{
public:
    Alone();
    Alone(Alone const &) = delete;
    Alone &operator=(Alone const &) = delete;
    ~Alone();
};

/// For a call that takes these by itself.
struct Unlocked
{
};

/// The pointers through which a call gives its results: they are set to zero, and none may be null.
class Results
{
public:
    template <typename... T> explicit Results(T *...pointers) { static_cast<void>((set(pointers), ...)); }
    /// 16 bytes of an id.
    static Results ofId(std::uint8_t *id)
    {
        Results results;
        results.m_hasNull = id == nullptr;
        if (id != nullptr)
            std::fill_n(id, 16, std::uint8_t{0});
        return results;
    }

    bool hasNull() const { return m_hasNull; }

private:
    template <typename T> void set(T *pointer)
    {
        if (pointer == nullptr)
            m_hasNull = true;
        else
            *pointer = T();
    }

    bool m_hasNull = false;
};

/// Does what `body` does and answers for whatever it throws.
template <typename Lock = Beside, typename Body> OktcStatus call(Results const &results, Body body) noexcept
{
    Call const running;
    if (running.isNested())
        return OKTC_BUSY;
    try
    {
        if (results.hasNull())
            refuse(OKTC_NULL_ARGUMENT, "a pointer for a result is null");
        [[maybe_unused]] Lock const lock;
        body();
        setMessage({}); // of a call that a function called back has tried
        return OKTC_OK;
    }
    catch (...)
    {
        return Call::statusOfException();
    }
}
template <typename Lock = Beside, typename Body> OktcStatus call(Body body) noexcept { return call<Lock>(Results(), body); }

/// Throws where the library has reported a failure since the call began, which its answers may hide, or since this was last asked:
/// std::bad_alloc if memory was short for it. For the end of each operation that has no answer of its own.
void checkReports();
/// Throws that, or refuses with the status and the message.
[[noreturn]] void refuseFailed(OktcStatus status, std::string_view message);

/// Refuses null.
void needed(void const *pointer, char const *name);

} // namespace oktc
