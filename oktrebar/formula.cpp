// SPDX-License-Identifier: MIT
#include <oktrebar/formula.h>

#include <oktformat/readnumber.h>

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

bool isDigit(char c) { return c >= '0' && c <= '9'; }

class Parser
{
public:
    Parser(std::string_view text, Variables const &variables) : m_text(text), m_variables(variables) {}

    double whole()
    {
        double const value = sum();
        if (!atEnd())
            refuse(std::string("unexpected '") + m_text[m_position] + "' in the formula");
        if (!std::isfinite(value))
            throw FormulaError(0, "the formula has no finite value");
        return value;
    }

private:
    [[noreturn]] void refuse(std::string const &reason) const { throw FormulaError(m_position, reason); }

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
            refuse(std::string("'") + c + "' is missing in the formula");
    }

    bool atFactor()
    {
        if (atEnd())
            return false;
        char const c = m_text[m_position];
        return isLetter(c) || isDigit(c) || c == '.' || c == '(';
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
        if (value == 0)
            refuse("the formula divides by zero");
        return value;
    }

    double factor()
    {
        if (!atFactor())
            refuse(atEnd() ? "the formula ends too early"
                           : std::string("unexpected '") + m_text[m_position] + "' in the formula");
        if (takes('('))
        {
            double const value = sum();
            expect(')');
            return value;
        }
        return isLetter(m_text[m_position]) ? named() : literal();
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
        while (m_position < m_text.size() && isLetter(m_text[m_position]))
            ++m_position;
        std::string_view const name = m_text.substr(start, m_position - start);
        if (name == "pi")
            return std::numbers::pi;
        if (name == "max")
        {
            expect('(');
            double const left = sum();
            expect(';');
            double const right = sum();
            expect(')');
            return std::max(left, right);
        }
        auto const found = m_variables.find(name);
        if (found == m_variables.end())
            throw FormulaError(start, "the formula names '" + std::string(name) + "', which is not known here");
        return found->second;
    }

    std::string_view m_text;
    Variables const &m_variables;
    std::size_t m_position = 0;
    int m_depth = 0;
};

} // namespace

double evaluate(std::string_view formula, Variables const &variables) { return Parser(formula, variables).whole(); }

} // namespace okt
