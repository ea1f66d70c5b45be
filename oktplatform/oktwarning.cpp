#include <oktplatform/oktwarning.h>

#include <oktplatform/oktsystem.h>

#include <atomic>
#include <utility>

namespace
{
std::atomic<void (*)(CString const &)> presenter{nullptr};

constexpr std::intptr_t kDialogOk = 1;
} // namespace

void OktSetWarningPresenter(void (*show)(CString const &text)) { presenter.store(show); }

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
