// SPDX-License-Identifier: MIT
#include <oktrebar/condition.h>

#include <oktrebar/expressions.h>
#include <oktrebar/parametervalue.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace okt
{

namespace
{

// Nobody writes deeper ones; a text that nests deeper must not exhaust the stack.
constexpr int kDeepest = 100;

enum class Comparison
{
    None,
    Equal,
    NotEqual,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual
};

struct Word
{
    std::string text;
    std::size_t at = 0;
    bool isQuoted = false;
    bool isEnd = false;

    bool is(std::string_view what) const { return !isQuoted && !isEnd && isSameWord(text, what); }
};

bool isSign(char c) { return std::string_view("()<>=!").find(c) != std::string_view::npos; }

std::vector<Word> wordsOf(std::string_view text)
{
    std::vector<Word> words;
    for (std::size_t at = 0; at < text.size();)
    {
        char const c = text[at];
        if (c == ' ' || c == '\t')
        {
            ++at;
            continue;
        }
        Word &word = words.emplace_back();
        word.at = at;
        if (c == '"' || c == '\'')
        {
            word.isQuoted = true;
            for (++at; at < text.size() && text[at] != c; ++at)
                word.text += text[at];
            if (at == text.size())
                throw ConditionError(word.at, "the quotation mark is not closed");
            ++at;
        }
        else if (isSign(c))
        {
            std::size_t const size = c != '(' && c != ')' && at + 1 < text.size() && (text[at + 1] == '=') ? 2 : 1;
            word.text = text.substr(at, c == '<' && at + 1 < text.size() && text[at + 1] == '>' ? 2 : size);
            at += word.text.size();
        }
        else
            while (at < text.size() && text[at] != ' ' && text[at] != '\t' && text[at] != '"' && !isSign(text[at]))
                word.text += text[at++];
    }
    Word &end = words.emplace_back();
    end.at = text.size();
    end.isEnd = true;
    return words;
}

Comparison comparisonOf(Word const &word)
{
    static std::vector<std::pair<std::string_view, Comparison>> const kSigns = {
        {"=", Comparison::Equal},     {"==", Comparison::Equal},         {"!=", Comparison::NotEqual},
        {"<>", Comparison::NotEqual}, {"<", Comparison::Less},           {"<=", Comparison::LessOrEqual},
        {">", Comparison::Greater},   {">=", Comparison::GreaterOrEqual}};
    for (auto const &[sign, comparison] : kSigns)
        if (!word.isQuoted && word.text == sign)
            return comparison;
    return Comparison::None;
}

bool isFulfilled(Comparison comparison, int order)
{
    switch (comparison)
    {
    case Comparison::Equal: return order == 0;
    case Comparison::NotEqual: return order != 0;
    case Comparison::Less: return order < 0;
    case Comparison::LessOrEqual: return order <= 0;
    case Comparison::Greater: return order > 0;
    case Comparison::GreaterOrEqual: return order >= 0;
    case Comparison::None: break;
    }
    return false;
}

int orderOf(double left, double right) { return isSameNumber(left, right) ? 0 : left < right ? -1 : 1; }

} // namespace

struct Condition::Node
{
    enum class Kind
    {
        Any,
        All,
        Not,
        Compared
    };

    Kind kind = Kind::Compared;
    std::vector<Node> parts;
    // Of a comparison
    std::optional<ParameterSelector> name;
    bool isClass = false;
    std::size_t at = 0; ///< of the value
    Comparison comparison = Comparison::None;
    std::string value;
    std::optional<Quantity> quantity;
};

namespace
{

using Node = Condition::Node;

class ConditionParser
{
public:
    explicit ConditionParser(std::string_view text) : m_words(wordsOf(text)) {}

    Node whole()
    {
        Node node = any();
        if (!here().isEnd)
            refuse("unexpected " + excerpt(here().text));
        return node;
    }

private:
    [[noreturn]] void refuse(std::string const &reason) const { throw ConditionError(here().at, reason); }
    Word const &here() const { return m_words[m_next]; }

    bool takes(std::string_view word)
    {
        if (!here().is(word))
            return false;
        ++m_next;
        return true;
    }

    Node any()
    {
        if (++m_depth > kDeepest)
            refuse("the condition nests too deep");
        Node node;
        node.kind = Node::Kind::Any;
        do
            node.parts.push_back(all());
        while (takes("or"));
        --m_depth;
        return node;
    }

    Node all()
    {
        Node node;
        node.kind = Node::Kind::All;
        do
            node.parts.push_back(one());
        while (takes("and"));
        return node;
    }

    Node one()
    {
        if (takes("not"))
        {
            if (++m_depth > kDeepest)
                refuse("the condition nests too deep");
            Node node;
            node.kind = Node::Kind::Not;
            node.parts.push_back(one());
            --m_depth;
            return node;
        }
        if (takes("("))
        {
            Node node = any();
            if (!takes(")"))
                refuse("')' is missing");
            return node;
        }
        return compared();
    }

    Node compared()
    {
        Word const name = here();
        bool const isName = name.isQuoted || (!name.isEnd && !isSign(name.text[0]));
        if (!isName || (name.isQuoted && name.text.empty()) || name.is("and") || name.is("or"))
            refuse(name.isEnd ? "the condition ends too early; the name of a parameter is missing"
                              : "the name of a parameter is wanted, not " + excerpt(name.text));
        ++m_next;
        Node node;
        node.name.emplace(name.text);
        node.isClass = name.is("objectclass");
        node.comparison = comparisonOf(here());
        if (node.comparison == Comparison::None)
        {
            if (node.isClass)
                refuse("objectclass is to be compared, with = or !=");
            if (!here().isEnd && !here().is("and") && !here().is("or") && !here().is(")"))
                refuse(sentence("a comparison (= != < <= > >=) is wanted, not {}; a name with blanks stands in quotation marks",
                                excerpt(here().text)));
            return node;
        }
        if (node.isClass && node.comparison != Comparison::Equal && node.comparison != Comparison::NotEqual)
            refuse("objectclass is compared with = or != only");
        ++m_next;
        value(node);
        return node;
    }

    void value(Node &node)
    {
        Word const first = here();
        if (first.isEnd || (!first.isQuoted && isSign(first.text[0])))
            refuse("a value is missing behind the comparison");
        ++m_next;
        node.at = first.at;
        node.value = first.text;
        node.quantity = parseQuantity(first.text);
        bool const isPlain = node.quantity && node.quantity->isPlain() && !first.isQuoted;
        bool const isFollowed = !here().isEnd && !here().is("and") && !here().is("or") && !here().is(")");
        if (!isPlain || !isFollowed)
            return;
        node.quantity->unit = here().isQuoted ? nullptr : findLengthUnit(here().text);
        if (node.quantity->unit == nullptr)
            refuse(sentence("{} is no unit of length; there are {}", excerpt(here().text), lengthUnitNames()));
        node.value += " " + here().text;
        ++m_next;
    }

    std::vector<Word> m_words;
    std::size_t m_next = 0;
    int m_depth = 0;
};

class Evaluation
{
public:
    Evaluation(StoredTemplate const &pool, LengthUnit const &drawn, LengthUnit const &plain)
        : m_pool(pool), m_drawn(drawn), m_plain(plain)
    {
    }

    bool holds(Node const &node) const
    {
        auto const each = [this](Node const &part) { return holds(part); };
        switch (node.kind)
        {
        case Node::Kind::Any: return std::any_of(node.parts.begin(), node.parts.end(), each);
        case Node::Kind::All: return std::all_of(node.parts.begin(), node.parts.end(), each);
        case Node::Kind::Not: return !holds(node.parts.front());
        case Node::Kind::Compared: break;
        }
        if (node.isClass)
        {
            bool const isThere = std::any_of(m_pool.classes.begin(), m_pool.classes.end(),
                                             [&node](std::string const &name) { return isSameWord(name, node.value); });
            return isThere == (node.comparison == Comparison::Equal);
        }
        return std::any_of(m_pool.parameters.begin(), m_pool.parameters.end(), [&](StoredParameter const &parameter) {
            return node.name->matches(parameter) && fulfils(parameter, node);
        });
    }

private:
    [[noreturn]] static void refuse(StoredParameter const &parameter, Node const &node, char const *what)
    {
        throw ConditionError(node.at, sentence("{} {}, and {} is none", excerpt(parameter.name), what, excerpt(node.value)));
    }

    bool fulfils(StoredParameter const &parameter, Node const &node) const
    {
        if (node.comparison == Comparison::None)
            return !std::holds_alternative<bool>(parameter.value) || std::get<bool>(parameter.value);
        if (parameter.isLength() || parameter.isDiameter())
        {
            if (!node.quantity || !node.quantity->rest.empty())
                refuse(parameter, node, "is a length");
            LengthUnit const &unit = node.quantity->unit == nullptr ? m_plain : *node.quantity->unit;
            double const metres = *parameter.number() / (parameter.isLength() ? 1 : m_drawn.perMetre);
            return isFulfilled(node.comparison, orderOf(metres, node.quantity->value / unit.perMetre));
        }
        if (std::optional<double> const number = parameter.number())
        {
            if (!node.quantity || !node.quantity->isPlain())
                refuse(parameter, node, "is a plain number");
            return isFulfilled(node.comparison, orderOf(*number, node.quantity->value));
        }
        if (bool const *const flag = std::get_if<bool>(&parameter.value))
        {
            bool const isYes = isSameWord(node.value, "true") || isSameWord(node.value, "yes") || node.value == "1";
            bool const isNo = isSameWord(node.value, "false") || isSameWord(node.value, "no") || node.value == "0";
            bool const isEquality = node.comparison == Comparison::Equal || node.comparison == Comparison::NotEqual;
            if (!(isYes || isNo) || !isEquality)
                refuse(parameter, node, "is compared with true or false, by = or !=");
            return isFulfilled(node.comparison, *flag == isYes ? 0 : 1);
        }
        if (!std::holds_alternative<std::string>(parameter.value))
            return false;
        std::string const text = shownText(shownValue(parameter, m_plain, m_drawn), false);
        std::optional<Quantity> const number = parseQuantity(text);
        bool const areNumbers = number && number->isPlain() && node.quantity && node.quantity->isPlain();
        bool const isEquality = node.comparison == Comparison::Equal || node.comparison == Comparison::NotEqual;
        return isFulfilled(node.comparison, areNumbers && !isEquality
                                                ? orderOf(number->value, node.quantity->value)
                                                : CString::FromUtf8(text).CompareNoCase(CString::FromUtf8(node.value)));
    }

    StoredTemplate const &m_pool;
    LengthUnit const &m_drawn;
    LengthUnit const &m_plain;
};

} // namespace

Condition::Condition(std::string_view text, LengthUnit const &plain)
    : m_root(std::make_unique<Node>(ConditionParser(text).whole())), m_plain(&plain)
{
}

Condition::~Condition() = default;
Condition::Condition(Condition &&) noexcept = default;
Condition &Condition::operator=(Condition &&) noexcept = default;

bool Condition::holds(StoredTemplate const &pool, LengthUnit const &drawn) const
{
    return Evaluation(pool, drawn, *m_plain).holds(*m_root);
}

} // namespace okt
