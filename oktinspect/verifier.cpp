// SPDX-License-Identifier: MIT
#include <oktinspect/verifier.h>

#include <oktinspect/classname.h>
#include <oktinspect/classrecords.h>
#include <oktinspect/headercheck.h>
#include <oktinspect/libraryread.h>
#include <oktinspect/objectcheck.h>
#include <oktinspect/objecttable.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/progress.h>
#include <oktformat/text.h>
#include <oktinspect/objectread.h>

#include <oktdatabase/oktruntimeclass.h>
#include <oktdatabase/oktshortage.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace okt
{

namespace
{

using What = Finding::What;

constexpr std::int32_t kNone = ObjectTable::kNone;

class Verifier
{
public:
    Verifier(std::string const &name, ByteSource &source, HeaderPlace const &header,
             std::function<void(Finding const &)> const &onFinding, ModuleLookup const &moduleOf, OnProgress const &onProgress,
             ObjectCheck::Reader reader)
        : m_source(source), m_header(header), m_moduleOf(moduleOf), m_reader(reader), m_findings(onFinding),
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
        ObjectCheck check(m_source, m_objects, pool, m_findings, m_reader);
        m_progress.nextPass();
        for (std::int32_t i = 0; i < count(); ++i)
        {
            m_progress.at(static_cast<std::uintmax_t>(m_objects.at(i).begin), static_cast<std::uintmax_t>(i));
            check.check(i);
        }
        links(check.listed());
        if (check.laterCount() > 0)
            add(What::LaterSections, check.firstLater(), {{"count", check.laterCount()}});
        unknownClasses();
        return m_findings.verdict();
    }

private:
    std::int32_t count() const { return static_cast<std::int32_t>(m_objects.size()); }

    /// About the file.
    void add(What what, std::int64_t at, std::vector<Fact> facts) { m_findings.add(makeFinding(what, at, std::move(facts))); }

    void add(What what, std::int64_t at, ObjectTable::Entry const &object, std::vector<Fact> facts)
    {
        Finding finding = makeFinding(what, at, std::move(facts));
        finding.object = object.begin;
        finding.id = object.id;
        m_findings.add(finding);
    }

    void structure()
    {
        if (!m_header.isWhole)
            add(What::HeaderDamaged, m_header.faultAt, {{"fault", m_header.fault}});
        else if (std::optional<Finding> const fault = headerFault())
            m_findings.add(*fault);
        else if (std::optional<Finding> const sizeFault = headerSizeFault(m_header))
            m_findings.add(*sizeFault);
        ObjectScan scan(m_source, m_header.end);
        bool isHeader = !m_header.isWhole;
        while (std::optional<Stretch> const stretch = scan.next())
        {
            m_progress.at(static_cast<std::uintmax_t>(stretch->end), m_objects.size());
            if (stretch->kind == Stretch::Kind::Object)
                take(*stretch);
            else if (!isHeader)
                add(stretch->kind == Stretch::Kind::Gap ? What::ForeignBytes : What::ObjectDamaged, stretch->faultAt,
                    {{"fault", stretch->fault()}});
            isHeader = false;
        }
    }

    /// The records of a header are looked at with its references; here it is whether the library reads it.
    std::optional<Finding> headerFault()
    {
        if (m_reader == ObjectCheck::Reader::Library)
            return libraryHeaderFault(m_source, m_header);
        return checkRecords(m_source, m_header.begin).isLater ? std::optional(makeFinding(What::HeaderMembers, m_header.begin))
                                                              : std::nullopt;
    }

    static std::string classNameOf(Stretch const &stretch)
    {
        return stretch.classNames.empty() ? std::string() : stretch.classNames.front();
    }

    void take(Stretch const &stretch)
    {
        m_findings.countObject();
        m_objects.add(stretch);
        ObjectTable::Entry const &object = m_objects.at(count() - 1);
        std::string const name = classNameOf(stretch);
        if (stretch.oddity != nullptr)
            add(What::OddRecord, stretch.oddAt, object, {{"class", name}, {"fault", stretch.oddity}});
        if (m_source.at(stretch.begin - 1) != static_cast<int>(RecordType::FrameEnd))
            add(What::NotLoaded, stretch.begin, object, {{"class", name}});
        if (!stretch.id)
            add(What::NoId, stretch.begin, object, {{"class", name}});
        bool const isKnown = isRegistered(stretch.className());
        noteOrder(isKnown, object);
        if (!isKnown && !isDamagedName(stretch, object))
        {
            auto &[times, first] = m_unknown[name];
            if (++times == 1)
                first = stretch.begin;
        }
    }

    /// Tells of a class name that cannot be one, or that is all but that of a class which is known here.
    bool isDamagedName(Stretch const &stretch, ObjectTable::Entry const &object)
    {
        std::string const name = classNameOf(stretch);
        auto const tell = [&](What what, std::string const &known) {
            add(what, stretch.begin, object, {{"class", name}, {"known", known}});
            return true;
        };
        for (auto const &[known, descriptor] : g_RuntimeClass)
            if (isRegistered(known) && isNearlyName(name, known.ToUtf8()))
                return tell(What::ClassNameNearly, known.ToUtf8());
        if (!isClassName(name))
            return tell(What::ClassNameNone, {});
        if (std::string const known(classByRecords(m_source, stretch.begin)); !known.empty())
            return tell(What::ClassByRecords, known);
        return false;
    }

    void duplicates()
    {
        std::vector<std::int32_t> const &byId = m_objects.byId();
        for (std::size_t i = 1; i < byId.size(); ++i)
            if (ObjectTable::Entry const &object = m_objects.at(byId[i]), &first = m_objects.at(byId[i - 1]);
                isSame(object.id, first.id) && !isSame(object.id, kNoId))
                add(What::DuplicateId, object.begin, object, {{"first", std::int64_t{first.begin}}});
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
        if (m_outOfOrder > 0)
            add(What::Order, m_firstOutOfOrder, {{"further", m_outOfOrder - 1}});
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
                add(What::ListedTwice, list.begin, list,
                    {{"noun", nounOf(list.known)}, {"member", nounOf(member.known)}, {"id", member.id}});
            else if (member.parent != listed[i].list)
            {
                std::vector<Fact> facts = {{"noun", nounOf(member.known)}, {"list", nounOf(list.known)}, {"id", list.id}};
                if (member.parent != kNone)
                    facts.push_back({"other", m_objects.at(member.parent).id});
                add(What::ListedNotNamed, member.begin, member, std::move(facts));
            }
        }
        for (std::int32_t i = 0; i < count(); ++i)
        {
            ObjectTable::Entry const &member = m_objects.at(i);
            if (member.parent == kNone)
                continue;
            ObjectTable::Entry const &parent = m_objects.at(member.parent);
            if (!std::binary_search(listed.begin(), listed.end(), ObjectCheck::Listed{member.parent, i}))
                add(What::NamedNotListed, member.begin, member,
                    {{"noun", nounOf(member.known)}, {"list", nounOf(parent.known)}, {"id", parent.id}});
        }
    }

    void unknownClasses()
    {
        for (auto const &[name, found] : m_unknown)
        {
            std::optional<std::string> const module = m_moduleOf ? m_moduleOf(name) : std::nullopt;
            std::vector<Fact> facts = {{"class", name}, {"count", found.first}};
            if (module)
                facts.push_back({"module", *module});
            add(What::UnknownClass, found.second, std::move(facts));
        }
    }

    ByteSource &m_source;
    HeaderPlace const &m_header;
    ModuleLookup const &m_moduleOf;
    ObjectCheck::Reader m_reader;
    Findings m_findings;
    ProgressStep m_progress;
    ObjectTable m_objects;
    std::optional<_GUID> m_lastId[2]; ///< of the last object of a known class, and of another
    std::int64_t m_outOfOrder = 0;
    std::int64_t m_firstOutOfOrder = -1;
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> m_unknown; ///< by class: how many, and the place of the first
};

} // namespace

Verification verify(ByteSource &source, VerifyOptions const &options)
{
    Verification result;
    result.header = findHeader(source);
    std::function<void(Finding const &)> const keep = [&result](Finding const &finding) { result.findings.push_back(finding); };
    Verifier verifier(options.name, source, result.header, options.onFinding ? options.onFinding : keep, options.moduleOf,
                      options.onProgress, ObjectCheck::Reader::Library);
    result.verdict = OktWithMemory([&] { return verifier.run(); });
    return result;
}

bool isSoundByRecords(ByteSource &source)
{
    struct Found
    {
    };
    HeaderPlace const header = findHeader(source);
    try
    {
        OnProgress const nobody;
        Verifier(
            "", source, header, [](Finding const &) { throw Found(); }, {}, nobody, ObjectCheck::Reader::Records)
            .run();
        return true;
    }
    catch (Found const &)
    {
        return false;
    }
}

Verification verify(std::filesystem::path const &path, VerifyOptions const &options)
{
    std::unique_ptr<ByteSource> const source = openSource(path, options.onProgress);
    if (source->size() == 0)
        throw Failure(inputName(path), "", "the file is empty");
    if (!options.name.empty())
        return verify(*source, options);
    VerifyOptions named = options;
    named.name = inputName(path);
    return verify(*source, named);
}

} // namespace okt
