#pragma once

#include <oktplatform/oktplatform.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace okt
{

/// Something about a pool file that somebody should know.
struct Finding
{
    enum class Severity
    {
        Error,
        Warning, ///< nothing is damaged for certain, but somebody should look at it
        Info     ///< nothing is wrong; something could not be looked at
    };

    enum class Code
    {
        // the structure
        Header,       ///< it is damaged
        HeaderSize,   ///< the file begins with another size than it has
        Object,       ///< damaged, or cut
        ForeignBytes, ///< that belong to no object
        NotLoaded,    ///< an object that a load does not find
        ClassName,    ///< that is none, or all but that of another class
        UnknownClass, ///< one that needs a client module
        Id,           ///< an object without one
        DuplicateId,
        Order, ///< of the ids
        // what is in an object, or in the header
        Records,   ///< others than those of its class
        ListCount, ///< another than that of the ids, or pieces, behind it
        Later,     ///< sections of a later release
        Library,   ///< does not read it, or writes it differently
        TooLarge,  ///< to be read by the library
        Number,
        Text,
        Type,
        Value,       ///< of a parameter: its kind, or one that is out of all reason
        PictureText, ///< of base64
        Image,       ///< in a picture
        ImageNotJudged,
        // what names something
        Missing,    ///< an id that is not in the file
        WrongClass, ///< an object of another class than is meant
        Link,       ///< a list and its member that do not name each other
        ListedTwice,
        NotListed, ///< a picture, by the header
        Place,     ///< of an object, as the header has it
        // only of a recovered file
        Remnant ///< a whole object that may be the base of a damaged one
    };

    Severity severity = Severity::Error;
    Code code = Code::Object;
    std::int64_t offset = 0;
    std::int64_t object = -1;   ///< where the object begins that it is about; -1: the header, or the file
    std::optional<_GUID> id;    ///< of that object
    std::optional<_GUID> named; ///< what is missing
    std::string text;
};

/// "error", "warning", "info".
char const *severityName(Finding::Severity severity);
/// The code for programs: "missing", "picture-text".
char const *codeName(Finding::Code code);

/// What came of looking through a file.
struct Verdict
{
    std::int64_t objects = 0;
    std::int64_t errors = 0;
    std::int64_t warnings = 0;
    std::int64_t infos = 0;
};

/// "1 error, 0 warnings"; infos only where there are some.
std::string findingsText(Verdict const &verdict);

/// Counts findings and hands them on.
class Findings
{
public:
    explicit Findings(std::function<void(Finding const &)> onFinding) : m_onFinding(std::move(onFinding)) {}

    void add(Finding const &finding);
    Verdict const &verdict() const { return m_verdict; }
    void countObject() { ++m_verdict.objects; }

private:
    std::function<void(Finding const &)> m_onFinding;
    Verdict m_verdict;
};

/// The client module that brings a class, as messages name it; nothing: none is known.
using ModuleLookup = std::function<std::optional<std::string>(std::string const &className)>;

} // namespace okt
