// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

#include <oktplatform/oktcodepage.h>
#include <oktplatform/okttypes.h>
#include <oktplatform/win32/oktpath.h>

#include <vector>

namespace
{
/// The system's message for an error, as one line of UTF-8.
std::string wordsOf(DWORD error)
{
    wchar_t words[512];
    DWORD const length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
                       error, 0, words, static_cast<DWORD>(std::size(words)), nullptr);
    CString text(words, static_cast<int>(length));
    text.TrimRight();
    if (text.IsEmpty())
        text.Format(u"error %u", static_cast<unsigned int>(error));
    return text.ToUtf8();
}

/// The full path: a name alone would be searched for in the folders of the system.
bool wholePath(std::wstring const &file, std::wstring &whole)
{
    DWORD const needed = file.empty() ? 0 : GetFullPathNameW(file.c_str(), 0, nullptr, nullptr);
    if (needed == 0)
        return false;
    std::vector<wchar_t> path(needed);
    DWORD const length = GetFullPathNameW(file.c_str(), needed, path.data(), nullptr);
    whole.assign(path.data(), length);
    return length > 0 && length < needed;
}

/// While one exists, the system does not ask the user about missing libraries.
class NoQuestions
{
public:
    NoQuestions() { SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &m_before); }
    NoQuestions(NoQuestions const &) = delete;
    NoQuestions &operator=(NoQuestions const &) = delete;
    ~NoQuestions() { SetThreadErrorMode(m_before, nullptr); }

private:
    DWORD m_before = 0;
};
} // namespace

bool OktSystem::loadModule(Unit const *path, std::size_t length, bool &wasThere, std::string &reason)
{
    wasThere = false;
    reason.clear();
    std::wstring file;
    std::wstring whole;
    if (!OktWin32::pathOf(path, length, file) || !wholePath(file, whole))
    {
        reason = wordsOf(ERROR_INVALID_NAME);
        return false;
    }
    // The module stays loaded, because the registry points into it.
    HMODULE module = nullptr;
    wasThere = GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, whole.c_str(), &module) != 0;
    if (wasThere)
        return true;
    NoQuestions const quiet;
    module = LoadLibraryExW(whole.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr)
    {
        reason = wordsOf(GetLastError());
        return false;
    }
    return true;
}
