#pragma once

#include <oktplatform/oktstring.h>

#include <cstdint>

/// The failure report. Making one shows it, modally, through the warning presenter of the host: a line feed, the source's name
/// from its last backslash on, "@" and the line. A null file shows the prompt 21011 instead. What fails while the report is
/// made is not caught.
class OKT_API OKTCrashHandler
{
public:
    OKTCrashHandler();
    OKTCrashHandler(wchar_t const *file, int line);
    OKTCrashHandler(OKTCrashHandler const &) {}
    OKTCrashHandler &operator=(OKTCrashHandler const &) { return *this; }
    virtual ~OKTCrashHandler();

    static std::int64_t mov_rax_0();
};

/// The zero of whatever an operation returns: false, null, 0, a default object. For a status it is the value of success.
struct OKTZeroResult
{
    template <typename T> operator T() const { return T(); } // NOLINT(google-explicit-constructor)
};

/// The name of a source file behind a backslash and without its ending, as reports tell it.
template <std::size_t N> struct OKTSourceStem
{
    wchar_t text[N + 1] = {L'\\'};

    constexpr explicit OKTSourceStem(wchar_t const (&fileName)[N])
    {
        for (std::size_t i = 0; i < N && fileName[i] != L'.'; ++i)
            text[i + 1] = fileName[i];
    }
};

#define OKT_WIDE_TEXT(text) L##text
#define OKT_WIDE(text) OKT_WIDE_TEXT(text)
#define OKT_SHOW_REPORT                                                                                                        \
    static constexpr OKTSourceStem oktStem(OKT_WIDE(__FILE_NAME__));                                                           \
    OKTCrashHandler(oktStem.text, __LINE__);

/// Ends every public operation that does real work: no exception leaves it, the caller gets the report and a zero.
///     bool X::operation()
///     try
///     {
///         ...
///     }
///     OKT_ANSWER_ZERO
#define OKT_ANSWER_ZERO                                                                                                        \
    catch (...)                                                                                                                \
    {                                                                                                                          \
        OKT_SHOW_REPORT                                                                                                        \
        return OKTZeroResult();                                                                                                \
    }
/// The same for an operation without a result, and for the body of a constructor or destructor.
#define OKT_ANSWER_NOTHING                                                                                                     \
    catch (...) { OKT_SHOW_REPORT }
