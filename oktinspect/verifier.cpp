#include <oktinspect/verifier.h>

#include <oktinspect/classname.h>
#include <oktinspect/classrecords.h>
#include <oktinspect/headercheck.h>
#include <oktinspect/libraryread.h>
#include <oktinspect/objectcheck.h>
#include <oktinspect/objecttable.h>

#include <oktformat/guids.h>
#include <oktformat/progress.h>
#include <oktformat/text.h>
#include <oktinspect/objectread.h>

#include <oktdatabase/oktruntimeclass.h>

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

namespace okt
{

namespace
{

using Severity = Finding::Severity;
using Code = Finding::Code;

constexpr std::int32_t kNone = ObjectTable::kNone;

class Verifier
{
public:
    Verifier(std::string const &name, ByteSource &source, HeaderPlace const &header,
             std::function<void(Finding const &)> const &onFinding, ModuleLookup const &moduleOf, OnProgress const &onProgress)
        : m_source(source), m_header(header), m_moduleOf(moduleOf), m_findings(onFinding),
          m_progress(onProgress, printable(std::string_view(name)), static_cast<std::uint64_t>(source.size()), 2)
    {
    }

    Verdict run()
    {
        structure();
        m_objects.sort();
        duplicates();
        order();
        std::optional<_GUID> pool;
        if (m_header.isWhole)
            pool = checkHeader(m_source, m_header, m_objects, m_findings);
        ObjectCheck check(m_source, m_objects, pool, m_findings);
        m_progress.nextPass();
        for (std::int32_t i = 0; i < count(); ++i)
        {
            m_progress.at(static_cast<std::uintmax_t>(m_objects.at(i).begin), static_cast<std::uintmax_t>(i));
            check.check(i);
        }
        links(check.listed());
        if (check.laterCount() > 0)
            add(Severity::Info, Code::Later, check.firstLater(),
                plural(check.laterCount(), "object") + (check.laterCount() == 1 ? " has" : " have") +
                    " sections of a later release, which are not looked into");
        unknownClasses();
        return m_findings.verdict();
    }

private:
    std::int32_t count() const { return static_cast<std::int32_t>(m_objects.size()); }

    /// About the file.
    void add(Severity severity, Code code, std::int64_t at, std::string const &text)
    {
        m_findings.add({severity, code, at, -1, std::nullopt, std::nullopt, text});
    }

    void add(Severity severity, Code code, std::int64_t at, ObjectTable::Entry const &object, std::string const &text)
    {
        m_findings.add({severity, code, at, object.begin, object.id, std::nullopt, text});
    }

    void structure()
    {
        if (!m_header.isWhole)
            add(Severity::Error, Code::Header, m_header.faultAt, m_header.fault);
        else if (std::string const fault = libraryHeaderFault(m_source, m_header); !fault.empty())
            add(Severity::Error, Code::Header, m_header.begin, fault);
        else if (std::string const sizeFault = headerSizeFault(m_header); !sizeFault.empty())
            add(Severity::Error, Code::HeaderSize, 0, sizeFault);
        ObjectScan scan(m_source, m_header.end);
        bool isHeader = !m_header.isWhole;
        while (std::optional<Stretch> const stretch = scan.next())
        {
            m_progress.at(static_cast<std::uintmax_t>(stretch->end), m_objects.size());
            if (stretch->kind == Stretch::Kind::Object)
                take(*stretch);
            else if (stretch->kind == Stretch::Kind::Gap && !isHeader)
                add(Severity::Warning, Code::ForeignBytes, stretch->faultAt, stretch->fault());
            else if (!isHeader)
                add(Severity::Error, Code::Object, stretch->faultAt, stretch->fault());
            isHeader = false;
        }
    }

    void take(Stretch const &stretch)
    {
        m_findings.countObject();
        m_objects.add(stretch);
        ObjectTable::Entry const &object = m_objects.at(count() - 1);
        std::string const name = printable(stretch.className());
        if (stretch.oddity != nullptr)
            add(Severity::Warning, Code::Records, stretch.oddAt, object, "in this " + name + " stands " + stretch.oddity);
        if (m_source.at(stretch.begin - 1) != static_cast<int>(RecordType::FrameEnd))
            add(Severity::Error, Code::NotLoaded, stretch.begin, object,
                "a load does not find " + withArticle(stretch.className()) +
                    " that begins here: no end of a frame stands in front of it");
        if (!stretch.id)
            add(Severity::Warning, Code::Id, stretch.begin, object, "this " + name + " has no id");
        bool const isKnown = isRegistered(stretch.className());
        noteOrder(isKnown, object);
        if (!isKnown && !isDamagedName(stretch, object))
        {
            auto &[times, first] = m_unknown[stretch.classNames.empty() ? std::string() : stretch.classNames.front()];
            if (++times == 1)
                first = stretch.begin;
        }
    }

    /// Tells of a class name that cannot be one, or that is all but that of a class which is known here.
    bool isDamagedName(Stretch const &stretch, ObjectTable::Entry const &object)
    {
        std::string const name = stretch.classNames.empty() ? std::string() : stretch.classNames.front();
        auto const tell = [&](std::string const &text) {
            add(Severity::Warning, Code::ClassName, stretch.begin, object, text);
            return true;
        };
        std::string const unknown = "the class " + quoted(stretch.className()) + " is not known here, but ";
        for (auto const &[known, descriptor] : g_RuntimeClass)
            if (isRegistered(known) && isNearlyName(name, known.ToUtf8()))
                return tell(unknown + quoted(known) + " is; the name may be damaged");
        if (!isClassName(name))
            return tell("the class name " + quoted(stretch.className()) + " is none that a class can have");
        if (std::string const known(classByRecords(m_source, stretch.begin)); !known.empty())
            return tell(unknown + "its records are those of an " + known + "; the name may be damaged");
        return false;
    }

    void duplicates()
    {
        std::vector<std::int32_t> const &byId = m_objects.byId();
        for (std::size_t i = 1; i < byId.size(); ++i)
            if (ObjectTable::Entry const &object = m_objects.at(byId[i]), &first = m_objects.at(byId[i - 1]);
                isSame(object.id, first.id) && !isSame(object.id, kNoId))
                add(Severity::Error, Code::DuplicateId, object.begin, object,
                    "the id " + idText(object.id) + " of this object is in the file already, at byte " +
                        std::to_string(first.begin));
    }

    /// A pool is saved in the order of the ids. Objects of classes that are not known here are looked at apart: where a file was
    /// recovered they stand behind the others.
    void noteOrder(bool isKnown, ObjectTable::Entry const &object)
    {
        std::optional<_GUID> &before = m_lastId[isKnown ? 0 : 1];
        if (before && isBelow(object.id, *before) && ++m_outOfOrder == 1)
            m_firstOutOfOrder = object.begin;
        before = object.id;
    }

    void order()
    {
        if (m_outOfOrder == 0)
            return;
        std::string text =
            "a pool is saved in the order of its ids, but the id of this object is below that of one in front of it";
        if (m_outOfOrder > 1)
            text += "; so are those of " + plural(m_outOfOrder - 1, "further object");
        add(Severity::Warning, Code::Order, m_firstOutOfOrder, text);
    }

    // Lists and those that stand in them

    void links(std::vector<ObjectCheck::Listed> listed)
    {
        std::sort(listed.begin(), listed.end());
        for (std::size_t i = 0; i < listed.size(); ++i)
        {
            ObjectTable::Entry const &list = m_objects.at(listed[i].list);
            ObjectTable::Entry const &member = m_objects.at(listed[i].member);
            if (i > 0 && !(listed[i - 1] < listed[i]))
                add(Severity::Warning, Code::ListedTwice, list.begin, list,
                    "this " + std::string(nounOf(list.known)) + " lists the " + nounOf(member.known) + " " + idText(member.id) +
                        " twice");
            else if (member.parent != listed[i].list)
                add(Severity::Warning, Code::Link, member.begin, member,
                    "the " + std::string(nounOf(list.known)) + " " + idText(list.id) + " lists this " + nounOf(member.known) +
                        ", which names " +
                        (member.parent == kNone
                             ? "none"
                             : "the " + std::string(nounOf(list.known)) + " " + idText(m_objects.at(member.parent).id)));
        }
        for (std::int32_t i = 0; i < count(); ++i)
        {
            ObjectTable::Entry const &member = m_objects.at(i);
            if (member.parent == kNone)
                continue;
            ObjectTable::Entry const &parent = m_objects.at(member.parent);
            if (!std::binary_search(listed.begin(), listed.end(), ObjectCheck::Listed{member.parent, i}))
                add(Severity::Warning, Code::Link, member.begin, member,
                    "this " + std::string(nounOf(member.known)) + " names the " + nounOf(parent.known) + " " +
                        idText(parent.id) + ", which does not list it");
        }
    }

    void unknownClasses()
    {
        for (auto const &[name, found] : m_unknown)
        {
            std::optional<std::string> const module = m_moduleOf ? m_moduleOf(name) : std::nullopt;
            add(Severity::Info, Code::UnknownClass, found.second,
                plural(found.first, "object") + " of the class \"" + printable(std::string_view(name)) +
                    "\", which is not known here: only the records are checked, and a load stops at the first; " +
                    (module ? *module + " names it; --module loads it"
                            : "a client module that brings the class is loaded with --module FILE"));
        }
    }

    ByteSource &m_source;
    HeaderPlace const &m_header;
    ModuleLookup const &m_moduleOf;
    Findings m_findings;
    ProgressStep m_progress;
    ObjectTable m_objects;
    std::optional<_GUID> m_lastId[2]; ///< of the last object of a known class, and of another
    std::int64_t m_outOfOrder = 0;
    std::int64_t m_firstOutOfOrder = -1;
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> m_unknown; ///< by class: how many, and the place of the first
};

} // namespace

Verdict verify(std::string const &name, ByteSource &source, HeaderPlace const &header,
               std::function<void(Finding const &)> const &onFinding, ModuleLookup const &moduleOf,
               OnProgress const &onProgress)
{
    return Verifier(name, source, header, onFinding, moduleOf, onProgress).run();
}

Verdict verify(FileScan &scan, std::function<void(Finding const &)> const &onFinding, ModuleLookup const &moduleOf)
{
    return verify(scan.name(), scan.source(), scan.header(), onFinding, moduleOf, scan.onProgress());
}

} // namespace okt
