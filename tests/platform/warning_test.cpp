// SPDX-License-Identifier: MIT
#include <oktplatform/oktwarning.h>

#include "support/alloccount.h"
#include "support/printers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#if !defined(_WIN32)
#include <fcntl.h>
#include <unistd.h>
#endif

namespace
{
std::vector<std::string> s_shown;

void keep(CString const &text) { s_shown.push_back(text.ToUtf8()); }

/// Takes the place of the presenter for a scope.
class Presenter
{
public:
    explicit Presenter(void (*show)(CString const &))
    {
        s_shown.clear();
        OktSetWarningPresenter(show);
    }
    Presenter(Presenter const &) = delete;
    Presenter &operator=(Presenter const &) = delete;
    ~Presenter() { OktSetWarningPresenter(nullptr); }
};

void warn(CString const &text)
{
    CZnDlgWarningReport dialog(nullptr);
    dialog.setWarningMsg(text);
    EXPECT_EQ(dialog.DoModal(), 1);
}
} // namespace

// --- Warnings ----------------------------------------------------------------------------------------------------------------

TEST(Warning, Presenter_GetsTheText)
{
    Presenter const presenter(keep);
    warn(u"\n\\oktfiler@159");
    warn(u"");
    EXPECT_EQ(s_shown, (std::vector<std::string>{"\n\\oktfiler@159", ""}));
}

TEST(Warning, PresenterThatIsSet_CanBeAskedFor)
{
    EXPECT_EQ(OktWarningPresenter(), nullptr);
    {
        Presenter const presenter(keep);
        EXPECT_EQ(OktWarningPresenter(), keep);
    }
    EXPECT_EQ(OktWarningPresenter(), nullptr);
}

TEST(Warning, ExceptionOfThePresenter_Travels)
{
    Presenter const presenter([](CString const &text) { throw text.GetLength(); });
    CZnDlgWarningReport dialog;
    dialog.setWarningMsg(u"four");
    EXPECT_THROW(dialog.DoModal(), int);
}

#if !defined(_WIN32)

namespace
{
/// Leads standard error into a pipe for a scope.
class ErrorPipe
{
public:
    ErrorPipe() : m_saved(dup(STDERR_FILENO))
    {
        EXPECT_EQ(pipe(m_ends), 0);
        EXPECT_GE(dup2(m_ends[1], STDERR_FILENO), 0);
        fcntl(m_ends[0], F_SETFL, O_NONBLOCK);
    }
    ErrorPipe(ErrorPipe const &) = delete;
    ErrorPipe &operator=(ErrorPipe const &) = delete;
    ~ErrorPipe()
    {
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
        closeReader();
        close(m_ends[1]);
    }

    std::string text()
    {
        char bytes[8192];
        ssize_t const count = read(m_ends[0], bytes, sizeof bytes);
        return count <= 0 ? std::string() : std::string(bytes, static_cast<std::size_t>(count));
    }

    void closeReader()
    {
        if (m_ends[0] >= 0)
            close(m_ends[0]);
        m_ends[0] = -1;
    }

    /// Writes until the pipe takes no more.
    void fill()
    {
        fcntl(m_ends[1], F_SETFL, O_NONBLOCK);
        char const bytes[512] = {};
        while (write(m_ends[1], bytes, sizeof bytes) > 0)
        {
        }
        while (write(m_ends[1], bytes, 1) > 0)
        {
        }
        fcntl(m_ends[1], F_SETFL, 0);
    }

private:
    int m_saved;
    int m_ends[2] = {-1, -1};
};
} // namespace

TEST(Warning, Default_IsOneLineOnStandardError)
{
    ErrorPipe pipe;
    warn(u"\n\\oktfiler@159");
    EXPECT_EQ(pipe.text(), "OKTDatabase10: \\oktfiler@159\n");
    warn(u"two\nlines\r\n and a\ttab");
    EXPECT_EQ(pipe.text(), "OKTDatabase10: two lines   and a tab\n");
    warn(u"\u00E4\U0001F600");
    EXPECT_EQ(pipe.text(), "OKTDatabase10: \xC3\xA4\xF0\x9F\x98\x80\n");
    warn(u"");
    EXPECT_EQ(pipe.text(), "OKTDatabase10: \n");
}

TEST(Warning, Null_RestoresTheDefault)
{
    {
        Presenter const presenter(keep);
        warn(u"kept");
    }
    ErrorPipe pipe;
    warn(u"shown");
    EXPECT_EQ(pipe.text(), "OKTDatabase10: shown\n");
    EXPECT_EQ(s_shown, std::vector<std::string>{"kept"});
}

TEST(Warning, LongText_IsCutToOneWrite)
{
    ErrorPipe pipe;
    CString text;
    for (int i = 0; i < 3000; ++i)
        text += u"\u20AC";
    warn(text);
    std::string const line = pipe.text();
    EXPECT_LE(line.size(), 1024u);
    EXPECT_GT(line.size(), 1000u);
    EXPECT_EQ(line.substr(line.size() - 4), "\xE2\x82\xAC\n"); // no half character
}

TEST(Warning, Default_AllocatesNothing)
{
    ErrorPipe pipe;
    CZnDlgWarningReport dialog;
    dialog.setWarningMsg(u"no memory left");
    AllocationCount const allocations;
    dialog.DoModal();
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(pipe.text(), "OKTDatabase10: no memory left\n");
}

TEST(Warning, ReaderThatDoesNotRead_DoesNotBlock)
{
    ErrorPipe pipe;
    pipe.fill();
    warn(u"dropped");
    std::string all;
    for (std::string piece = pipe.text(); !piece.empty(); piece = pipe.text())
        all += piece;
    EXPECT_EQ(all.find("dropped"), std::string::npos);
    warn(u"shown again");
    EXPECT_EQ(pipe.text(), "OKTDatabase10: shown again\n");
}

TEST(Warning, ReaderThatWentAway_DoesNotEndTheProcess)
{
    ErrorPipe pipe;
    pipe.closeReader();
    warn(u"to nobody");
    int const saved = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    warn(u"to no place at all");
    EXPECT_EQ(dup2(saved, STDERR_FILENO), STDERR_FILENO);
    close(saved);
}

#endif

// --- Prompts -----------------------------------------------------------------------------------------------------------------

namespace
{
struct Prompt
{
    unsigned int id;
    char16_t const *text;
};

constexpr Prompt kPrompts[] = {
    {1000, u"Standard"},
    {1001, u"Steelgrade"},
    {1002, u"Diameter"},
    {1003, u"Cover"},
    {1004, u"Hook 1"},
    {1005, u"Hook 1 by catalog"},
    {1006, u"Hook angle 1"},
    {1007, u"Hook length 1"},
    {1008, u"Hook 2"},
    {1009, u"Hook 2 by catalog"},
    {1010, u"Hook angle 2"},
    {1011, u"Hook length 2"},
    {1012, u"Hook fillet by catalog"},
    {1013, u"Hook fillet radius"},
    {1014, u"Hook recover length"},
    {1015, u"Anchor 1"},
    {1016, u"Anchor 1 by catalog"},
    {1017, u"Anchor length 1"},
    {1018, u"Anchor 2"},
    {1019, u"Anchor 2 by catalog"},
    {1020, u"Anchor length 2"},
    {1021, u"Bend by catalog"},
    {1022, u"Bend fillet radius"},
    {1023, u"Bending radius"},
    {1024, u"Side"},
    {1025, u"Shape standard"},
    {1026, u"Shape code"},
    {1027, u"Extension 1"},
    {1028, u"Extension 2"},
    {1029, u"Lateral extension"},
    {1030, u"Quantity type"},
    {1031, u"Spacing"},
    {1032, u"Number"},
    {1033, u"Quantity expression"},
    {1034, u"Caqout start"},
    {1035, u"Caqout end"},
    {1037, u"Alternate top bars"},
    {1038, u"Alternate bottom bars"},
    {1039, u"Hole cover"},
    {1040, u"Extremity justification"},
    {1041, u"Lateral justification"},
    {1042, u"Rotation angle"},
    {1043, u"Offset X"},
    {1044, u"Offset Y"},
    {1045, u"Justification"},
    {1046, u"Standard"},
    {1047, u"Type"},
    {1048, u"Length"},
    {1049, u"Width"},
    {1050, u"Justification"},
    {1051, u"Rotation angle"},
    {1052, u"Cover ext"},
    {1053, u"Cover int"},
    {1054, u"Size limit"},
    {1055, u"Repartition method"},
    {1056, u"Trim mesh"},
    {1057, u"Custom overlap"},
    {1058, u"Longitudinal overlap"},
    {1059, u"Transversal overlap"},
    {1060, u"Lateral extension"},
    {1061, u"Cover 1"},
    {1062, u"Cover 2"},
    {1063, u"Custom overlap"},
    {1064, u"Overlap length"},
    {1065, u"Justification"},
    {1066, u"Lateral extension"},
    {1067, u"Bend direction"},
    {1068, u"View direction"},
    {1069, u"Offset X"},
    {1070, u"Offset Y"},
    {1071, u"Justification"},
    {1072, u"Enabled"},
    {1073, u"Spacing tolerance"},
};
static_assert(std::size(kPrompts) == 73);
} // namespace

TEST(Prompts, EveryIdOfTheTable_HasItsText)
{
    for (Prompt const &prompt : kPrompts)
    {
        EXPECT_EQ(ZnPrompts::getPrompt(prompt.id, L"OKTDATABASE", 0), prompt.text) << prompt.id;
        CString text(u"before");
        ZnPrompts::getPrompt(text, prompt.id, L"OKTDATABASE", 0);
        EXPECT_EQ(text, prompt.text) << prompt.id;
    }
}

TEST(Prompts, EveryOtherId_IsEmpty)
{
    std::size_t held = 0;
    for (unsigned int id = 0; id < 70000; ++id)
        held += ZnPrompts::getPrompt(id, L"OKTDATABASE", 0).IsEmpty() ? 0 : 1;
    EXPECT_EQ(held, std::size(kPrompts) + 1); // and 21011
    for (unsigned int const id : {0u, 999u, 1036u, 1074u, 4294967295u})
    {
        CString text(u"before");
        ZnPrompts::getPrompt(text, id, L"OKTDATABASE", 0);
        EXPECT_TRUE(text.IsEmpty()) << id;
    }
}

TEST(Prompts, ReportWithoutAPlace_HasWords)
{
    EXPECT_EQ(ZnPrompts::getPrompt(21011, L"OKTDATABASE", 0), u"An operation failed for an unknown reason.");
}

TEST(Prompts, OtherProject_HasNone)
{
    EXPECT_TRUE(ZnPrompts::getPrompt(1000, L"OTHER", 0).IsEmpty());
    EXPECT_TRUE(ZnPrompts::getPrompt(1000, L"OKTDATABASE2", 0).IsEmpty());
    EXPECT_TRUE(ZnPrompts::getPrompt(1000, L"", 0).IsEmpty());
    EXPECT_TRUE(ZnPrompts::getPrompt(1000, nullptr, 0).IsEmpty());
}

TEST(Prompts, Text_IsWrappedAndCopiedWithoutAnAllocation)
{
    AllocationCount const allocations;
    CString const prompt = ZnPrompts::getPrompt(1002, L"OKTDATABASE", 0);
    CString const copy(prompt);
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(copy, u"Diameter");
}
