// SPDX-License-Identifier: MIT
#include <oktplatform/oktwarning.h>

#include <oktplatform/oktsystem.h>
#include <oktplatform/okttext_internal.h>
#include <oktplatform/oktwarningline_internal.h>

#include <atomic>
#include <cstring>
#include <utility>

namespace
{
std::atomic<void (*)(CString const &)> presenter{nullptr};

constexpr std::intptr_t kDialogOk = 1;
constexpr char kWarningPrefix[] = "OKTDatabase10: ";
} // namespace

void OktSetWarningPresenter(void (*show)(CString const &text)) { presenter.store(show); }

void (*OktWarningPresenter())(CString const &text) { return presenter.load(); }

CZnDlgWarningReport::CZnDlgWarningReport(CWnd *) {}

void CZnDlgWarningReport::setWarningMsg(CString message) { m_message = std::move(message); }

std::intptr_t CZnDlgWarningReport::DoModal()
{
    if (auto *const show = presenter.load())
        show(m_message);
    else
        OktSystem::showWarning(m_message.GetString(), static_cast<std::size_t>(m_message.GetLength()));
    return kDialogOk;
}

std::size_t OktText::putWarningLine(WCHAR const *text, std::size_t length, char (&line)[kWarningLine])
{
    std::size_t size = sizeof kWarningPrefix - 1;
    std::memcpy(line, kWarningPrefix, size);
    WCHAR const *const end = text + length;
    bool atStart = true;
    while (text != end && size + 5 <= sizeof line)
    {
        char32_t character = nextCharacter(text, end);
        if (character < 0x20 || character == 0x7F)
            character = ' ';
        if (atStart && character == ' ')
            continue;
        atStart = false;
        size += static_cast<std::size_t>(putUtf8(isSurrogate(character) ? kReplacement : character, line + size));
    }
    line[size++] = '\n';
    return size;
}
