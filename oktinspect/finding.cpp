#include <oktinspect/finding.h>

#include <oktformat/text.h>

namespace okt
{

char const *severityName(Finding::Severity severity)
{
    switch (severity)
    {
    case Finding::Severity::Error: return "error";
    case Finding::Severity::Warning: return "warning";
    case Finding::Severity::Info: break;
    }
    return "info";
}

char const *codeName(Finding::Code code)
{
    using Code = Finding::Code;
    switch (code)
    {
    case Code::Header: return "header";
    case Code::HeaderSize: return "header-size";
    case Code::Object: return "object";
    case Code::ForeignBytes: return "foreign-bytes";
    case Code::NotLoaded: return "not-loaded";
    case Code::ClassName: return "class-name";
    case Code::UnknownClass: return "unknown-class";
    case Code::Id: return "id";
    case Code::DuplicateId: return "duplicate-id";
    case Code::Order: return "order";
    case Code::Records: return "records";
    case Code::ListCount: return "list-count";
    case Code::Later: return "later-release";
    case Code::Library: return "library";
    case Code::TooLarge: return "too-large";
    case Code::Number: return "number";
    case Code::Text: return "text";
    case Code::Type: return "type";
    case Code::Value: return "value";
    case Code::PictureText: return "picture-text";
    case Code::Image: return "image";
    case Code::ImageNotJudged: return "image-not-judged";
    case Code::Missing: return "missing";
    case Code::WrongClass: return "wrong-class";
    case Code::Link: return "link";
    case Code::ListedTwice: return "listed-twice";
    case Code::NotListed: return "not-listed";
    case Code::Place: return "place";
    case Code::Remnant: break;
    }
    return "remnant";
}

std::string findingsText(Verdict const &verdict)
{
    return plural(verdict.errors, "error") + ", " + plural(verdict.warnings, "warning") +
           (verdict.infos > 0 ? ", " + plural(verdict.infos, "info") : "");
}

void Findings::add(Finding const &finding)
{
    switch (finding.severity)
    {
    case Finding::Severity::Error: ++m_verdict.errors; break;
    case Finding::Severity::Warning: ++m_verdict.warnings; break;
    case Finding::Severity::Info: ++m_verdict.infos; break;
    }
    m_onFinding(finding);
}

} // namespace okt
