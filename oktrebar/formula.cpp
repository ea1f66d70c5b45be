// SPDX-License-Identifier: MIT
#include <oktrebar/formula.h>

#include <oktformat/readnumber.h>
#include <oktformat/sentence.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace okt
{

namespace
{

// Real formulas nest three levels. Deeper texts are refused, so that they cannot exhaust the stack.
constexpr int kDeepest = 50;

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

struct Function
{
    std::string_view name;
    double (*of)(double value);
};

/// Those of one term, in expressions.
constexpr Function kFunctions[] = {{"abs", [](double value) { return std::abs(value); }},
                                   {"ceil", [](double value) { return std::ceil(value); }},
                                   {"floor", [](double value) { return std::floor(value); }},
                                   {"round", [](double value) { return std::round(value); }},
                                   {"sqrt", [](double value) { return std::sqrt(value); }}};

/// The case of letters does not count, as in the names of parameters.
bool isFunction(std::string_view name, std::string_view function)
{
    return std::equal(name.begin(), name.end(), function.begin(), function.end(),
                      [](char c, char small) { return c == small || (isLetter(c) && (c | 0x20) == small); });
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// What may stand in a name.
enum class Names
{
    Letters,
    Words ///< letters, also of other alphabets, digits and underscores
};

bool beginsName(char c, Names names)
{
    return isLetter(c) || (names == Names::Words && (c == '_' || static_cast<unsigned char>(c) >= 0x80));
}

bool isInName(char c, Names names) { return beginsName(c, names) || (names == Names::Words && isDigit(c)); }

class Parser
{
public:
    Parser(std::string_view text, Names names, NameLookup const &valueOf) : m_text(text), m_names(names), m_valueOf(valueOf) {}

    double whole()
    {
        double const value = sum();
        if (!atEnd())
            refuse(sentence("unexpected {} in the formula", here()));
        if (!std::isfinite(value) && !m_isOnlyRead)
            throw FormulaError(0, "the formula has no finite value");
        return value;
    }

    /// Values do not count: only the form is looked at.
    void read()
    {
        m_isOnlyRead = true;
        whole();
    }

private:
    [[noreturn]] void refuse(std::string const &reason) const { throw FormulaError(m_position, reason); }

    /// The character at the position, whole.
    std::string here() const
    {
        std::size_t end = m_position + 1;
        while (end < m_text.size() && (static_cast<unsigned char>(m_text[end]) & 0xC0) == 0x80)
            ++end;
        return sentence("'{}'", m_text.substr(m_position, end - m_position));
    }

    /// Skips blanks first.
    bool atEnd()
    {
        while (m_position < m_text.size() && m_text[m_position] == ' ')
            ++m_position;
        return m_position == m_text.size();
    }

    bool takes(char c)
    {
        if (atEnd() || m_text[m_position] != c)
            return false;
        ++m_position;
        return true;
    }

    void expect(char c)
    {
        if (!takes(c))
            refuse(sentence("'{}' is missing in the formula", c));
    }

    bool atFactor()
    {
        if (atEnd())
            return false;
        char const c = m_text[m_position];
        return beginsName(c, m_names) || isDigit(c) || c == '.' || c == '(';
    }

    double sum()
    {
        if (++m_depth > kDeepest)
            refuse("the formula nests too deep");
        double const sign = takes('-') ? -1 : 1;
        if (sign > 0)
            takes('+');
        double value = sign * product();
        for (;;)
        {
            if (takes('+'))
                value += product();
            else if (takes('-'))
                value -= product();
            else
                break;
        }
        --m_depth;
        return value;
    }

    double product()
    {
        double value = factor();
        for (;;)
        {
            if (takes('/'))
                value /= divisor();
            else if (takes('*') || atFactor()) // 2 (a + b) is a product, too
                value *= factor();
            else
                return value;
        }
    }

    double divisor()
    {
        double const value = factor();
        if (value == 0 && !m_isOnlyRead)
            refuse("the formula divides by zero");
        return value;
    }

    double factor()
    {
        if (!atFactor())
            refuse(atEnd() ? "the formula ends too early" : sentence("unexpected {} in the formula", here()));
        if (takes('('))
        {
            double const value = sum();
            expect(')');
            return value;
        }
        return beginsName(m_text[m_position], m_names) ? named() : literal();
    }

    double literal()
    {
        double value = 0;
        char const *const start = m_text.data() + m_position;
        // The fixed form has no exponent: the E of "2E" is a dimension.
        auto const [end, error] = readNumber(start, m_text.data() + m_text.size(), value, std::chars_format::fixed);
        if (error != std::errc())
            refuse("a number in the formula cannot be read");
        m_position += static_cast<std::size_t>(end - start);
        return value;
    }

    double named()
    {
        std::size_t const start = m_position;
        while (m_position < m_text.size() && isInName(m_text[m_position], m_names))
            ++m_position;
        std::string_view const name = m_text.substr(start, m_position - start);
        if (name == "pi")
            return std::numbers::pi;
        if (m_names == Names::Letters ? name == "max" : (isFunction(name, "max") || isFunction(name, "min")) && atOpening())
            return extreme(isFunction(name, "max"));
        if (m_names == Names::Words && atOpening())
            for (Function const &function : kFunctions)
                if (isFunction(name, function.name))
                    return function.of(factor());
        std::optional<double> const value = m_valueOf(name);
        if (!value)
            throw FormulaError(start, sentence("the formula names '{}', which is not known here", name));
        return *value;
    }

    bool atOpening() { return !atEnd() && m_text[m_position] == '('; }

    double extreme(bool isGreatest)
    {
        expect('(');
        double value = sum();
        if (m_names == Names::Letters)
            expect(';');
        else if (!takesSeparator())
        {
            expect(')');
            return value;
        }
        do
        {
            double const next = sum();
            value = isGreatest ? std::max(value, next) : std::min(value, next);
        } while (m_names == Names::Words && takesSeparator());
        expect(')');
        return value;
    }

    bool takesSeparator() { return takes(';') || takes(','); }

    std::string_view m_text;
    Names m_names;
    NameLookup const &m_valueOf;
    bool m_isOnlyRead = false;
    std::size_t m_position = 0;
    int m_depth = 0;
};

} // namespace

double evaluate(std::string_view formula, Variables const &variables)
{
    NameLookup const valueOf = [&variables](std::string_view name) -> std::optional<double> {
        auto const found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    };
    return Parser(formula, Names::Letters, valueOf).whole();
}

double evaluateExpression(std::string_view expression, NameLookup const &valueOf)
{
    return Parser(expression, Names::Words, valueOf).whole();
}

std::vector<std::string> wordsIn(std::string_view expression)
{
    std::vector<std::string> words;
    for (std::size_t at = 0; at < expression.size();)
    {
        std::size_t end = at;
        while (end < expression.size() && isInName(expression[end], Names::Words))
            ++end;
        std::string_view const word = expression.substr(at, end - at);
        if (!word.empty() && beginsName(word.front(), Names::Words) &&
            std::find(words.begin(), words.end(), word) == words.end())
            words.emplace_back(word);
        at = end + (word.empty() ? 1 : 0);
    }
    return words;
}

std::vector<std::string> namesIn(std::string_view expression)
{
    std::vector<std::string> names;
    NameLookup const note = [&names](std::string_view name) {
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.emplace_back(name);
        return std::optional(1.0);
    };
    Parser(expression, Names::Words, note).read();
    return names;
}

} // namespace okt
