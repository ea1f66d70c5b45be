// SPDX-License-Identifier: MIT
#include <oktplatform/oktstring.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

// Random operations on texts and on the standard library's strings side by side: the results must agree after each step. Copies
// of the texts are kept, so that a write into a shared buffer shows.

namespace
{
class Pair
{
public:
    CString text;
    std::u16string model;

    void expectEqual(char const *operation) const
    {
        OktTextView const view = text.View();
        ASSERT_EQ(std::u16string(view.begin(), view.end()), model) << operation;
        ASSERT_EQ(text.GetString()[model.size()], 0) << operation;
        ASSERT_EQ(text.GetLength(), static_cast<int>(model.size())) << operation;
    }
};

class CStringProperty : public ::testing::TestWithParam<unsigned int>
{
protected:
    int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(m_random); }

    char16_t unit()
    {
        constexpr char16_t kUnits[] = {u'a', u'b', u'a', u'b', u'A', u' ', u'.', 0, 0xD83D, 0xDE00, 0x20AC};
        return kUnits[upTo(static_cast<int>(std::size(kUnits)) - 1)];
    }

    std::u16string units(int most)
    {
        std::u16string made(static_cast<std::size_t>(upTo(most)), u' ');
        std::generate(made.begin(), made.end(), [this] { return unit(); });
        return made;
    }

    Pair &any() { return m_pairs[static_cast<std::size_t>(upTo(static_cast<int>(m_pairs.size()) - 1))]; }

    static int replaceAll(std::u16string &text, std::u16string const &from, std::u16string const &to)
    {
        if (from.empty())
            return 0;
        int places = 0;
        for (std::size_t at = text.find(from); at != std::u16string::npos; at = text.find(from, at + to.size()), ++places)
            text.replace(at, from.size(), to);
        return places;
    }

    void step(Pair &pair);

    std::mt19937 m_random{GetParam()};
    std::vector<Pair> m_pairs{6};
};

void CStringProperty::step(Pair &pair)
{
    std::u16string &model = pair.model;
    CString &text = pair.text;
    auto const size = static_cast<int>(model.size());
    switch (upTo(15))
    {
    case 0:
    {
        std::u16string const fresh = units(40);
        text = CString(fresh.data(), static_cast<int>(fresh.size()));
        model = fresh;
        return pair.expectEqual("assign units");
    }
    case 1:
        text = L"wide literal";
        model = u"wide literal";
        return pair.expectEqual("assign wide literal");
    case 2:
        text = u"a literal of units";
        model = u"a literal of units";
        return pair.expectEqual("assign literal");
    case 3:
    {
        Pair const &other = any();
        text = other.text;
        model = std::u16string(other.model);
        return pair.expectEqual("assign");
    }
    case 4:
    {
        Pair const &other = any();
        if (size > 2000)
            return;
        text += other.text;
        model += std::u16string(other.model);
        return pair.expectEqual("append");
    }
    case 5:
    {
        char16_t const one = unit();
        text += one;
        model += one;
        return pair.expectEqual("append unit");
    }
    case 6:
    {
        Pair const &other = any();
        if (size > 2000)
            return;
        text = other.text + text;
        model = other.model + model;
        return pair.expectEqual("join");
    }
    case 7:
    {
        int const first = upTo(size + 4) - 2;
        int const count = upTo(size + 4) - 2;
        text = text.Mid(first, count);
        auto const from = static_cast<std::size_t>(std::clamp(first, 0, size));
        model = model.substr(from, static_cast<std::size_t>(std::max(count, 0)));
        return pair.expectEqual("mid");
    }
    case 8:
    {
        int const count = upTo(size + 4) - 2;
        auto const kept = static_cast<std::size_t>(std::clamp(count, 0, size));
        if (upTo(1) == 0)
        {
            text = text.Left(count);
            model = model.substr(0, kept);
        }
        else
        {
            text = text.Right(count);
            model = model.substr(model.size() - kept);
        }
        return pair.expectEqual("left, right");
    }
    case 9:
    {
        std::u16string const from = upTo(9) == 0 ? any().model : units(3);
        std::u16string const to = units(4);
        if (size > 2000)
            return;
        int const places =
            text.Replace(CString(from.data(), static_cast<int>(from.size())), CString(to.data(), static_cast<int>(to.size())));
        ASSERT_EQ(places, replaceAll(model, from, to));
        return pair.expectEqual("replace");
    }
    case 10:
    {
        char16_t const from = unit();
        char16_t const to = unit();
        auto const places = std::count(model.begin(), model.end(), from);
        ASSERT_EQ(text.Replace(from, to), places);
        std::replace(model.begin(), model.end(), from, to);
        return pair.expectEqual("replace unit");
    }
    case 11:
    {
        char16_t const one = unit();
        text.TrimLeft(one);
        model.erase(0, std::min(model.find_first_not_of(one), model.size()));
        text.TrimRight(one);
        model.erase(model.find_last_not_of(one) + 1);
        return pair.expectEqual("trim unit");
    }
    case 12:
    {
        std::u16string const set = units(3);
        CString const setText(set.data(), static_cast<int>(set.size()));
        text.TrimLeft(setText);
        model.erase(0, std::min(model.find_first_not_of(set), model.size()));
        text.TrimRight(setText);
        model.erase(model.find_last_not_of(set) + 1);
        return pair.expectEqual("trim set");
    }
    case 13:
    {
        if (size == 0)
            return;
        int const index = upTo(size - 1);
        char16_t const one = unit();
        text.SetAt(index, one);
        model[static_cast<std::size_t>(index)] = one;
        return pair.expectEqual("set unit");
    }
    case 14:
    {
        std::u16string const part = units(2);
        int const start = upTo(size);
        std::size_t const place = model.find(part, static_cast<std::size_t>(start));
        ASSERT_EQ(text.Find(CString(part.data(), static_cast<int>(part.size())), start),
                  place == std::u16string::npos ? -1 : static_cast<int>(place));
        std::size_t const last = model.rfind(u'a');
        ASSERT_EQ(text.ReverseFind(u'a'), last == std::u16string::npos ? -1 : static_cast<int>(last));
        return;
    }
    default:
    {
        Pair const &other = any();
        int const order = text.Compare(other.text);
        int const expected = model.compare(other.model);
        ASSERT_EQ(order < 0, expected < 0);
        ASSERT_EQ(order > 0, expected > 0);
        ASSERT_EQ(text == other.text, model == other.model);
        return;
    }
    }
}
} // namespace

TEST_P(CStringProperty, RandomOperations_AgreeWithTheModel)
{
    for (int round = 0; round < 4000; ++round)
    {
        step(any());
        if (HasFatalFailure())
            return;
        if (round % 16 == 0)
        {
            for (Pair const &pair : m_pairs)
                pair.expectEqual("some other text");
        }
        if (HasFatalFailure())
            return;
    }
}

TEST_P(CStringProperty, RandomUnits_GoThroughUtf8)
{
    for (int round = 0; round < 500; ++round)
    {
        std::u16string const model = units(30);
        CString const text(model.data(), static_cast<int>(model.size()));
        std::string const bytes = text.ToUtf8();
        CString const back = CString::FromUtf8(bytes);
        ASSERT_EQ(back.ToUtf8(), bytes);
        ASSERT_EQ(back.GetLength(), text.GetLength()); // a lone surrogate is one unit, and so is its replacement
    }
}

TEST_P(CStringProperty, RandomBytes_AreValidUtf8AfterOneTrip)
{
    for (int round = 0; round < 500; ++round)
    {
        std::string bytes(static_cast<std::size_t>(upTo(24)), ' ');
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<char>(upTo(255)); });
        std::string const once = CString::FromUtf8(bytes).ToUtf8();
        ASSERT_EQ(CString::FromUtf8(once).ToUtf8(), once);
    }
}

TEST_P(CStringProperty, RandomFormats_NeverFail)
{
    for (int round = 0; round < 2000; ++round)
    {
        constexpr char16_t kUnits[] = u"%%%%dsSfcxugep*.-+# 0123lhI64La";
        std::u16string format(static_cast<std::size_t>(upTo(12)), u' ');
        std::generate(format.begin(), format.end(), [&] { return kUnits[upTo(static_cast<int>(std::size(kUnits)) - 2)]; });
        CString result;
        result.Format(CString(format.data(), static_cast<int>(format.size())), upTo(200), CString(u"text"), 1.5, u"units");
        ASSERT_GE(result.GetLength(), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, CStringProperty, ::testing::Values(1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u));
