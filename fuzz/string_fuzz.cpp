// SPDX-License-Identifier: MIT
// Texts of any units: UTF-8 there and back, the code pages, and the operations beside the same ones of the standard string.

#include "fuzzsupport.h"

#include <oktplatform/oktcodepage.h>
#include <oktplatform/oktstring.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{
using Model = std::u16string;

bool isSame(CString const &text, Model const &model) { return text.View() == OktTextView(model); }

bool isContinuation(std::string_view text, std::size_t at, std::size_t count)
{
    if (text.size() - at < count)
        return false;
    return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(at), text.begin() + static_cast<std::ptrdiff_t>(at + count),
                       [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; });
}

// The table of well-formed byte sequences, row by row.
bool isWellFormed(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();)
    {
        auto const lead = static_cast<unsigned char>(text[i]);
        auto const second = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0u;
        std::size_t more = 0;
        bool good = true;
        if (lead < 0x80)
            more = 0;
        else if (lead >= 0xC2 && lead <= 0xDF)
            more = 1;
        else if (lead >= 0xE0 && lead <= 0xEF)
        {
            more = 2;
            good = (lead != 0xE0 || second >= 0xA0) && (lead != 0xED || second <= 0x9F);
        }
        else if (lead >= 0xF0 && lead <= 0xF4)
        {
            more = 3;
            good = (lead != 0xF0 || second >= 0x90) && (lead != 0xF4 || second <= 0x8F);
        }
        else
            return false;
        if (!good || !isContinuation(text, i + 1, more))
            return false;
        i += more + 1;
    }
    return true;
}

bool hasLoneSurrogate(Model const &text)
{
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        bool const isHigh = text[i] >= 0xD800 && text[i] < 0xDC00;
        bool const isLow = text[i] >= 0xDC00 && text[i] < 0xE000;
        if (isHigh && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            ++i;
        else if (isHigh || isLow)
            return true;
    }
    return false;
}

void demandUtf8(std::string_view bytes)
{
    CString const text = CString::FromUtf8(bytes);
    std::string const back = text.ToUtf8();
    FUZZ_DEMAND(isWellFormed(back));
    FUZZ_DEMAND(CString::FromUtf8(back) == text);
    if (isWellFormed(bytes))
        FUZZ_DEMAND(back == bytes);
    else
        FUZZ_DEMAND(text.Find(u'\uFFFD') >= 0);
}

void demandCodePages(std::string_view bytes)
{
    for (UINT const page : {1252u, 65001u, 932u})
    {
        auto const length = static_cast<int>(bytes.size());
        int const size = MultiByteToWideChar(page, 0, bytes.data(), length, nullptr, 0);
        FUZZ_DEMAND(size >= 0 && size <= length);
        std::vector<WCHAR> units(static_cast<std::size_t>(size) + 1, u'#');
        if (size > 0)
            FUZZ_DEMAND(MultiByteToWideChar(page, 0, bytes.data(), length, units.data(), size) == size);
        FUZZ_DEMAND(units.back() == u'#');

        int const needed = WideCharToMultiByte(page, 0, units.data(), size, nullptr, 0, nullptr, nullptr);
        FUZZ_DEMAND(needed >= 0);
        std::vector<char> narrow(static_cast<std::size_t>(needed) + 1, '#');
        if (needed > 0)
            FUZZ_DEMAND(WideCharToMultiByte(page, 0, units.data(), size, narrow.data(), needed, nullptr, nullptr) == needed);
        FUZZ_DEMAND(narrow.back() == '#');
        // Every byte of the default page is a character.
        if (page == 1252)
            FUZZ_DEMAND(std::string_view(narrow.data(), static_cast<std::size_t>(needed)) == bytes);
    }
}

int replaced(Model &text, Model const &from, Model const &to)
{
    int count = 0;
    for (std::size_t at = text.find(from); at != Model::npos; at = text.find(from, at + to.size()))
    {
        text.replace(at, from.size(), to);
        ++count;
    }
    return count;
}

int place(std::size_t found) { return found == Model::npos ? -1 : static_cast<int>(found); }

/// A text and its model, changed alike by one step after the other.
class Twins
{
public:
    explicit Twins(FuzzInput &input) : m_input(input) {}

    void step()
    {
        CString const before = m_text; // shares the buffer, and must not see the change
        Model const modelBefore = m_model;
        change();
        FUZZ_DEMAND(isSame(m_text, m_model));
        FUZZ_DEMAND(isSame(before, modelBefore));
        FUZZ_DEMAND(m_text.GetLength() == static_cast<int>(m_model.size()));
        FUZZ_DEMAND(m_text.IsEmpty() == m_model.empty());
        FUZZ_DEMAND(m_text.GetString()[m_text.GetLength()] == 0);
        FUZZ_DEMAND((m_text == before) == (m_model == modelBefore));
        FUZZ_DEMAND((m_text < before) == (m_model < modelBefore));
        FUZZ_DEMAND((m_text.Compare(before) > 0) == (m_model > modelBefore));
        FUZZ_DEMAND(m_text.CompareNoCase(m_text) == 0);
        FUZZ_DEMAND((m_text.CompareNoCase(before) < 0) == (before.CompareNoCase(m_text) > 0));
        if (!hasLoneSurrogate(m_model))
            FUZZ_DEMAND(CString::FromUtf8(m_text.ToUtf8()) == m_text);
    }

private:
    static constexpr std::size_t kMaxLength = 300;

    Model units()
    {
        Model text;
        for (int left = m_input.below(12); left > 0; --left)
            text += m_input.byte() < 128 ? letter() : static_cast<char16_t>(m_input.word(2));
        return text;
    }
    CString made(Model const &model) { return CString(model.data(), static_cast<int>(model.size())); }
    char16_t letter() { return static_cast<char16_t>(u'a' + m_input.below(4)); }
    int index() { return m_input.below(40) - 4; }

    void change()
    {
        Model const other = units();
        CString const text = made(other);
        auto const length = static_cast<int>(m_model.size());
        switch (m_input.below(16))
        {
        case 0: m_text = text, m_model = other; break;
        case 1:
            if (m_model.size() < kMaxLength)
                m_text += text, m_model += other;
            break;
        case 2:
            if (m_model.size() < kMaxLength)
                m_text = text + m_text, m_model = other + m_model;
            break;
        case 3:
        {
            int const count = index();
            m_text = m_text.Left(count);
            m_model = m_model.substr(0, static_cast<std::size_t>(std::max(count, 0)));
            break;
        }
        case 4:
        {
            int const count = std::clamp(index(), 0, length);
            m_text = m_text.Right(count);
            m_model = m_model.substr(m_model.size() - static_cast<std::size_t>(count));
            break;
        }
        case 5:
        {
            int const first = index();
            int const count = index();
            m_text = m_text.Mid(first, count);
            m_model = m_model.substr(static_cast<std::size_t>(std::clamp(first, 0, length)),
                                     static_cast<std::size_t>(std::max(count, 0)));
            break;
        }
        case 6:
            if (!other.empty())
            {
                int const start = std::clamp(index(), 0, length);
                FUZZ_DEMAND(m_text.Find(text, start) == place(m_model.find(other, static_cast<std::size_t>(start))));
                FUZZ_DEMAND(m_text.Find(other[0], start) == place(m_model.find(other[0], static_cast<std::size_t>(start))));
                FUZZ_DEMAND(m_text.ReverseFind(other[0]) == place(m_model.rfind(other[0])));
            }
            break;
        case 7:
        {
            Model const to = units();
            if (!other.empty() && m_model.size() < kMaxLength)
                FUZZ_DEMAND(m_text.Replace(text, made(to)) == replaced(m_model, other, to));
            break;
        }
        case 8:
            m_text.TrimLeft(text);
            m_model.erase(0, m_model.find_first_not_of(other));
            break;
        case 9:
            m_text.TrimRight(text);
            m_model.erase(m_model.find_last_not_of(other) + 1);
            break;
        case 10:
        {
            char16_t const unit = letter();
            m_text.TrimRight(unit);
            m_model.erase(m_model.find_last_not_of(unit) + 1);
            break;
        }
        case 11:
            if (length > 0)
            {
                int const at = m_input.below(length);
                m_text.SetAt(at, u'b');
                m_model[static_cast<std::size_t>(at)] = u'b';
                FUZZ_DEMAND(m_text.GetAt(at) == u'b' && m_text[at] == u'b');
            }
            break;
        case 12:
        {
            int const count = std::clamp(index(), 0, length);
            m_text.Truncate(count);
            m_model.resize(static_cast<std::size_t>(count));
            break;
        }
        case 13: m_text = u"wrapped literal", m_model = u"wrapped literal"; break;
        case 14: m_text = L"wide literal", m_model = u"wide literal"; break;
        default:
            m_text.SetUnits(static_cast<int>(other.size()),
                            [&](WCHAR *units, int count) { std::copy_n(other.data(), count, units); });
            m_model = other;
            break;
        }
    }

    FuzzInput &m_input;
    CString m_text;
    Model m_model;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    std::string const bytes(reinterpret_cast<char const *>(data), size);
    demandUtf8(bytes);
    demandCodePages(bytes);
    FuzzInput input(data, size);
    for (Twins twins(input); !input.isAtEnd();)
        twins.step();
    return 0;
}
