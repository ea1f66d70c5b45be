// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

#include <cstdint>

/// The failure report. Making one shows it, modally, through the warning presenter of the host: a line feed, the source's name
/// from its last backslash on, "@" and the line. A null file shows the prompt 21011 instead. It needs no memory that is not there
/// already; an exception of the presenter is not caught.
class OKT_API OKTCrashHandler
{
public:
    /// Both show the report. Without a place it is the prompt 21011. Pointers are only read.
    OKTCrashHandler();
    OKTCrashHandler(wchar_t const *file, int line);
    /// A copy shows nothing.
    OKTCrashHandler(OKTCrashHandler const &) {}
    OKTCrashHandler &operator=(OKTCrashHandler const &) { return *this; }
    virtual ~OKTCrashHandler();

    /// Always 0.
    static std::int64_t mov_rax_0();

    /// Shows a report whose text is ready, and lies in the program or library of the handler.
    static void show(char16_t const *message);
};

/// The zero of whatever an operation returns: false, null, 0, a default object. For a status it is the value of success.
struct OKTZeroResult
{
    template <typename T> operator T() const { return T(); } // NOLINT(google-explicit-constructor)
};

/// The report of one handler, made at compile time so that it needs no memory at run time: a line feed, a backslash, the name of the
/// source file up to its first point, "@" and the line. So all sources of one class report its name.
template <std::size_t N> struct OKTReportText
{
    char16_t text[N + 12] = {u'\n', u'\\'};

    /// `line` is not negative.
    constexpr OKTReportText(char16_t const (&fileName)[N], int line)
    {
        std::size_t at = 2;
        for (std::size_t i = 0; i + 1 < N && fileName[i] != u'.'; ++i)
            text[at++] = fileName[i];
        text[at++] = u'@';
        int power = 1;
        while (line / power >= 10)
            power *= 10;
        for (; power > 0; power /= 10)
            text[at++] = static_cast<char16_t>(u'0' + line / power % 10);
    }
};

#define OKT_UTF16_TEXT(text) u##text
#define OKT_UTF16(text) OKT_UTF16_TEXT(text)
#define OKT_SHOW_REPORT                                                                                                        \
    static constexpr OKTReportText oktReport(OKT_UTF16(__FILE_NAME__), __LINE__);                                              \
    OKTCrashHandler::show(oktReport.text);

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
