// SPDX-License-Identifier: MIT
#include <oktdatabase/oktcrashhandler.h>

#include <oktdatabase/oktshortage.h>
#include <oktplatform/okttext_internal.h>
#include <oktplatform/oktwarning.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <new>

namespace
{
constexpr unsigned int kUnknownPlacePrompt = 21011;

// Memory for the text of a report that is made when there is no other. A presenter may keep the text: then there is none for the
// next report before the copy has gone.
class ReservedText
{
public:
    ReservedText()
    {
        try
        {
            set(m_units, kRoom);
        }
        catch (std::bad_alloc const &)
        {
            // A literal stands in for each report.
        }
    }
    ReservedText(ReservedText const &) = delete;
    ReservedText &operator=(ReservedText const &) = delete;
    ~ReservedText() { m_text = CString(); } // for reports of static objects that end later

    CString message(wchar_t const *name, int line)
    {
        if (m_isInUse.test_and_set())
            return CString::OfConstant(kNoMemory);
        CString text = CString::OfConstant(kNoMemory);
        try
        {
            text = make(name, line);
        }
        catch (std::bad_alloc const &)
        {
            // The memory is in use.
        }
        m_isInUse.clear();
        return text;
    }

private:
    static constexpr int kRoom = 320;
    static constexpr int kLongestLine = 12; // "@-2147483648"
    static constexpr char16_t kNoMemory[] = u"\nThere is no memory.";

    CString const &make(wchar_t const *name, int line)
    {
        int length = 0;
        m_units[length++] = u'\n';
        for (; *name != 0 && length + 2 <= kRoom - kLongestLine; ++name)
            length += OktText::putCharacter(OktText::fromWide(*name), m_units + length);
        char digits[kLongestLine];
        char const *const end = std::to_chars(digits, digits + kLongestLine, line).ptr;
        m_units[length++] = u'@';
        length = static_cast<int>(std::copy(static_cast<char const *>(digits), end, m_units + length) - m_units);
        set(m_units, length);
        return m_text;
    }
    void set(WCHAR const *units, int length)
    {
        m_text.SetUnits(length, [units](WCHAR *target, int count) { std::copy_n(units, count, target); });
    }

    WCHAR m_units[kRoom] = {};
    CString m_text;
    std::atomic_flag m_isInUse;
};

ReservedText g_reserved;

// The name from its last backslash on.
wchar_t const *nameIn(wchar_t const *file)
{
    wchar_t const *name = file;
    for (; *file != 0; ++file)
        name = *file == L'\\' ? file : name;
    return name;
}

CString messageOf(wchar_t const *file, int line)
{
    CString message;
    if (file == nullptr)
    {
        ZnPrompts::getPrompt(message, kUnknownPlacePrompt, L"OKTDATABASE", 0);
        return message;
    }
    wchar_t const *const name = nameIn(file);
    try
    {
        message.Format(u"\n%s@%d", name, line);
        return message;
    }
    catch (std::bad_alloc const &)
    {
        return g_reserved.message(name, line);
    }
}

void present(CString const &message)
{
    CZnDlgWarningReport dialog(nullptr);
    dialog.setWarningMsg(message);
    dialog.DoModal();
}
} // namespace

OKTCrashHandler::OKTCrashHandler() : OKTCrashHandler(nullptr, 0) {}

OKTCrashHandler::OKTCrashHandler(wchar_t const *file, int line) { present(messageOf(file, line)); }

void OKTCrashHandler::show(char16_t const *message)
{
    OktNoteIfShortage();
    CString text = CString::OfConstant(message);
    try
    {
        text = text.Owned(); // a presenter may keep it longer than a client module stays
    }
    catch (std::bad_alloc const &)
    {
        OktNoteShortage(); // then it gets the constant itself
    }
    present(text);
}

OKTCrashHandler::~OKTCrashHandler() = default;

std::int64_t OKTCrashHandler::mov_rax_0() { return 0; }
