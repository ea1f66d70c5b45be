#include <oktdatabase/oktcrashhandler.h>

#include <oktplatform/oktwarning.h>

namespace
{
constexpr unsigned int kUnknownPlacePrompt = 21011;
}

OKTCrashHandler::OKTCrashHandler() : OKTCrashHandler(nullptr, 0) {}

OKTCrashHandler::OKTCrashHandler(wchar_t const *file, int line)
{
    CString message;
    if (file != nullptr)
    {
        CString text(file);
        text = text.Right(text.GetLength() - text.ReverseFind(u'\\'));
        message.Format(u"\n%s@%d", text, line);
    }
    else
        ZnPrompts::getPrompt(message, kUnknownPlacePrompt, L"OKTDATABASE", 0);

    CZnDlgWarningReport dialog(nullptr);
    dialog.setWarningMsg(message);
    dialog.DoModal();
}

OKTCrashHandler::~OKTCrashHandler() = default;

std::int64_t OKTCrashHandler::mov_rax_0() { return 0; }
