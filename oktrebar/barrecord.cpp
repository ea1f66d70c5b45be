// SPDX-License-Identifier: MIT
#include <oktrebar/barrecord.h>

#include <oktformat/readnumber.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <cmath>

namespace okt
{

namespace
{

constexpr std::string_view kStart = "BF2D@";
constexpr int kLargestCount = 1'000'000;
constexpr std::size_t kMostLegs = 99;
constexpr double kLengthTolerance = 1e-6;
// With this many digits a length survives the conversion to metres and back.
constexpr std::size_t kWholeDigits = 6;
constexpr std::size_t kDecimals = 6;
constexpr int kDigits = 12;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string name(char c) { return sentence("\"{}\"", c); }

/// Parses a line from left to right.
class Bf2dReader
{
public:
    explicit Bf2dReader(std::string_view line) : m_line(line) {}

    Bf2dRecord read()
    {
        expectAscii();
        if (!m_line.starts_with(kStart))
            refuse(0, "a record begins with \"BF2D@\"");
        m_at = kStart.size();
        Bf2dRecord record;
        expectBlock('H', "the header");
        record.project = text('j');
        record.drawing = text('r');
        record.index = text('i');
        record.position = text('p');
        std::size_t const lengthAt = m_at;
        record.length = above0('l');
        record.count = whole('n');
        record.mass = above0('e');
        record.diameter = above0('d');
        record.grade = text('g');
        record.mandrel = number('s', false);
        if (next() == 'v')
            record.other = text('v');
        expectBlock('G', "the geometry");
        readLegs(record);
        checkSum();
        expectSum(record, lengthAt);
        return record;
    }

private:
    [[noreturn]] void refuse(std::size_t at, std::string reason) const { throw Bf2dFault{at + 1, std::move(reason)}; }

    char next() const { return m_at < m_line.size() ? m_line[m_at] : '\0'; }

    void expectAscii() const
    {
        for (std::size_t i = 0; i < m_line.size(); ++i)
            if (m_line[i] < 0x20 || m_line[i] == 0x7F)
                refuse(i, sentence("a record is printable ASCII, here is the byte {}", static_cast<unsigned char>(m_line[i])));
    }

    void expectBlock(char block, char const *what)
    {
        if (next() != block)
            refuse(m_at, sentence("here is {}, where {} begins with {}", found(), what, name(block)));
        ++m_at;
    }

    std::string found() const { return m_at < m_line.size() ? name(m_line[m_at]) : "the end of the line"; }

    /// The text between the letter of a field and its "@".
    std::string_view field(char letter)
    {
        if (next() != letter)
            refuse(m_at, sentence("here is {}, where the field {} belongs", found(), name(letter)));
        ++m_at;
        std::size_t const end = m_line.find('@', m_at);
        if (end == std::string_view::npos)
            refuse(m_line.size(), sentence("the field {} has no \"@\" at its end", name(letter)));
        std::string_view const value = m_line.substr(m_at, end - m_at);
        m_valueAt = m_at;
        m_at = end + 1;
        return value;
    }

    std::string text(char letter) { return std::string(field(letter)); }

    double number(char letter, bool maybeNegative)
    {
        std::string_view const value = field(letter);
        std::string_view digits = value;
        if (maybeNegative && digits.starts_with('-'))
            digits.remove_prefix(1);
        std::size_t const point = digits.find('.');
        std::string_view const wholes = digits.substr(0, point);
        std::string_view const decimals = point == std::string_view::npos ? "0" : digits.substr(point + 1);
        auto const areDigits = [](std::string_view text, std::size_t most) {
            return !text.empty() && text.size() <= most && text.find_first_not_of("0123456789") == std::string_view::npos;
        };
        if (!areDigits(wholes, kWholeDigits) || !areDigits(decimals, kDecimals))
            refuse(m_valueAt,
                   sentence("the field {} is no number of up to 6 digits and 6 decimals: {}", name(letter), excerpt(value)));
        double result = 0;
        readNumber(value.data(), value.data() + value.size(), result);
        return result;
    }

    double above0(char letter)
    {
        double const value = number(letter, false);
        if (!(value > 0))
            refuse(m_valueAt, sentence("the field {} is to be above 0", name(letter)));
        return value;
    }

    int whole(char letter)
    {
        double const value = number(letter, false);
        if (!isBf2dCount(value))
            refuse(m_valueAt, sentence("the field {} is no whole number from 1 to 1000000", name(letter)));
        return static_cast<int>(value);
    }

    void readLegs(Bf2dRecord &record)
    {
        for (;;)
        {
            Bf2dLeg leg;
            leg.length = above0('l');
            leg.angle = number('w', true);
            if (std::abs(leg.angle) > 180)
                refuse(m_valueAt, "the field \"w\" is no angle from -180 to 180");
            record.legs.push_back(leg);
            if (record.legs.size() > kMostLegs)
                refuse(m_valueAt, "the bar has more than 99 legs");
            bool const isLast = next() != 'l';
            if (isLast && leg.angle != 0)
                refuse(m_valueAt, "the last bend angle \"w\" is to be 0");
            if (isLast)
                break;
            if (leg.angle == 0)
                refuse(m_valueAt, "a bend angle \"w\" of 0 stands behind the last leg only");
        }
        if (record.legs.size() > 1 && !(record.mandrel > 0))
            refuse(0, "a bent bar has a mandrel, here \"s\" is 0");
    }

    void checkSum()
    {
        expectBlock('C', "the check sum");
        int const proved = bf2dCheckSum(m_line.substr(0, m_at));
        std::size_t const at = m_at;
        int told = 0;
        while (isDigit(next()) && m_at - at < 3)
            told = told * 10 + (m_line[m_at++] - '0');
        if (m_at == at || next() != '@')
            refuse(m_at, sentence("here is {}, where the check sum is a number with \"@\" at its end", found()));
        ++m_at;
        if (told != proved || m_line[at] == '0')
            refuse(at, sentence("the check sum is {}, by the line it is {}", m_line.substr(at, m_at - 1 - at), proved));
        if (m_at != m_line.size())
            refuse(m_at, sentence("here is {}, behind the check sum, which is the end of a record", found()));
    }

    void expectSum(Bf2dRecord const &record, std::size_t lengthAt) const
    {
        double sum = 0;
        for (Bf2dLeg const &leg : record.legs)
            sum += leg.length;
        if (std::abs(sum - record.length) > kLengthTolerance)
            refuse(lengthAt, sentence("the length \"l\" is {} mm, the legs sum to {} mm", rounded(record.length, kDigits),
                                      rounded(sum, kDigits)));
    }

    std::string_view m_line;
    std::size_t m_at = 0;
    std::size_t m_valueAt = 0;
};

} // namespace

bool isBf2dCount(double value) { return value >= 1 && value <= kLargestCount && value == std::floor(value); }

int bf2dCheckSum(std::string_view upToC)
{
    int sum = 0;
    for (char const c : upToC)
        sum = (sum + static_cast<unsigned char>(c)) % 32;
    return 96 - sum;
}

Bf2dRecord parseBf2d(std::string_view line) { return Bf2dReader(line).read(); }

std::string bf2dLine(Bf2dRecord const &record)
{
    std::string line = std::string(kStart) + "H";
    auto const add = [&line](char letter, std::string const &value) { line += sentence("{}{}@", letter, value); };
    auto const addNumber = [&add](char letter, double value) { add(letter, rounded(value, kDigits)); };
    add('j', record.project);
    add('r', record.drawing);
    add('i', record.index);
    add('p', record.position);
    addNumber('l', record.length);
    add('n', std::to_string(record.count));
    addNumber('e', record.mass);
    addNumber('d', record.diameter);
    add('g', record.grade);
    addNumber('s', record.mandrel);
    if (record.other)
        add('v', *record.other);
    line += 'G';
    for (Bf2dLeg const &leg : record.legs)
    {
        addNumber('l', leg.length);
        addNumber('w', leg.angle);
    }
    line += 'C';
    return sentence("{}{}@", line, bf2dCheckSum(line));
}

} // namespace okt
