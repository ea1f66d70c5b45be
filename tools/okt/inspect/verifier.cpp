#include "verifier.h"

#include "libraryread.h"

#include "../guids.h"
#include "../objectread.h"
#include "../picturetext.h"
#include "../poolprinter.h"
#include "../progress.h"
#include "../text.h"

#include <oktdatabase/oktdbparameter.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <vector>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;
using Severity = Finding::Severity;

constexpr std::int32_t kNone = -1;

// A larger object is not given to the library, which keeps several copies of it.
constexpr std::int64_t kLargestRead = std::int64_t(1) << 26;

// Lengths in metres that no drawing has.
constexpr double kLongest = 1e7;
constexpr double kShortest = 1e-12;

bool isBelow(_GUID const &left, _GUID const &right) { return std::memcmp(&left, &right, sizeof left) < 0; }

/// What is kept of an object.
struct Entry
{
    _GUID id;
    std::int32_t begin;
    std::int32_t size;
    KnownClass known;    ///< the nearest known class, its own or a base
    std::int32_t parent; ///< of a parameter its category, of a category its group: an index; kNone: none
};

struct Listed
{
    std::int32_t list;
    std::int32_t member;

    bool operator<(Listed const &other) const { return list != other.list ? list < other.list : member < other.member; }
};

char const *nounOf(KnownClass known)
{
    switch (known)
    {
    case KnownClass::Parameter: return "parameter";
    case KnownClass::Category: return "category";
    case KnownClass::GroupCategory: return "group category";
    case KnownClass::Picture: return "picture";
    case KnownClass::Relation:
    case KnownClass::ParamRelation: return "relation";
    default: return "object";
    }
}

KnownClass nearestKnown(Stretch const &object)
{
    for (std::string const &name : object.classNames)
        if (KnownClass const known = knownClass(name); known != KnownClass::Other)
            return known;
    return KnownClass::Other;
}

/// What a member of a known class is that names another object.
struct Reference
{
    char const *role = nullptr; ///< null: the class is not known
    KnownClass target = KnownClass::Other;
    bool isParent = false;
    bool isMember = false; ///< of a list
};

Reference referenceOf(StoredValue const &value)
{
    if (value.section != 1)
        return {};
    switch (value.owner)
    {
    case KnownClass::Parameter:
        if (value.ordinal == 4)
            return {"category", KnownClass::Category, true, false};
        if (value.ordinal == 5)
            return {"owner", KnownClass::Other, false, false};
        return {"parameter", KnownClass::Parameter, false, false};
    case KnownClass::Category:
        if (value.ordinal == 0)
            return {"group", KnownClass::GroupCategory, true, false};
        return {"parameter", KnownClass::Parameter, false, true};
    case KnownClass::GroupCategory: return {"category", KnownClass::Category, false, true};
    case KnownClass::ParamRelation: return {"parameter", KnownClass::Parameter, false, false};
    default: return {};
    }
}

class Verifier
{
public:
    Verifier(FileScan &scan, std::function<void(Finding const &)> const &onFinding)
        : m_source(scan.source()), m_header(scan.header()), m_onFinding(onFinding),
          m_progress(printable(scan.name()), static_cast<std::uintmax_t>(scan.source().size()), "", 2)
    {
    }

    Verdict run()
    {
        structure();
        sortIds();
        header();
        m_progress.nextPass();
        for (std::size_t i = 0; i < m_entries.size(); ++i)
        {
            m_progress.at(static_cast<std::uintmax_t>(m_entries[i].begin), i);
            object(static_cast<std::int32_t>(i));
        }
        links();
        unknownClasses();
        return m_verdict;
    }

private:
    void error(std::int64_t offset, std::string const &text)
    {
        ++m_verdict.errors;
        m_onFinding({Severity::Error, offset, text});
    }

    void warning(std::int64_t offset, std::string const &text)
    {
        ++m_verdict.warnings;
        m_onFinding({Severity::Warning, offset, text});
    }

    // The structure

    void structure()
    {
        if (!m_header.isWhole)
            error(m_header.faultAt, m_header.fault);
        else if (std::string const fault = libraryHeaderFault(m_source, m_header); !fault.empty())
            error(m_header.begin, fault);
        else if (m_header.begin != 5 || m_header.statedSize != m_header.end - m_header.begin)
            error(0, "the file begins with " + std::to_string(m_header.statedSize) + " for the size of its header, which is " +
                         std::to_string(m_header.end - m_header.begin));
        ObjectScan scan(m_source, m_header.end);
        bool isHeader = !m_header.isWhole;
        while (std::optional<Stretch> const stretch = scan.next())
        {
            m_progress.at(static_cast<std::uintmax_t>(stretch->end), m_entries.size());
            if (stretch->kind == Stretch::Kind::Object)
                take(*stretch);
            else if (stretch->kind == Stretch::Kind::Gap && !isHeader)
                warning(stretch->faultAt, stretch->fault());
            else if (!isHeader)
                error(stretch->faultAt, stretch->fault());
            isHeader = false;
        }
    }

    void take(Stretch const &stretch)
    {
        ++m_verdict.objects;
        if (stretch.isOdd)
            warning(stretch.begin, "the records of this " + printable(stretch.className()) +
                                       " are not nested as those of any class that is known");
        if (m_source.at(stretch.begin - 1) != static_cast<int>(RecordType::FrameEnd))
            error(stretch.begin, "a load does not find " + withArticle(stretch.className()) +
                                     " that begins here: no end of a frame stands in front of it");
        if (!stretch.id)
            warning(stretch.begin, "this " + printable(stretch.className()) + " has no id");
        if (!isRegistered(stretch.className()))
        {
            auto &[count, first] = m_unknown[printable(stretch.className())];
            if (++count == 1)
                first = stretch.begin;
        }
        m_entries.push_back({stretch.id.value_or(kNoId), static_cast<std::int32_t>(stretch.begin),
                             static_cast<std::int32_t>(stretch.size()), nearestKnown(stretch), kNone});
    }

    void sortIds()
    {
        m_byId.resize(m_entries.size());
        for (std::size_t i = 0; i < m_byId.size(); ++i)
            m_byId[i] = static_cast<std::int32_t>(i);
        std::sort(m_byId.begin(), m_byId.end(), [this](std::int32_t left, std::int32_t right) {
            _GUID const &l = entry(left).id;
            _GUID const &r = entry(right).id;
            return isSame(l, r) ? left < right : isBelow(l, r);
        });
        for (std::size_t i = 1; i < m_byId.size(); ++i)
            if (isSame(entry(m_byId[i]).id, entry(m_byId[i - 1]).id))
                error(entry(m_byId[i]).begin, "the id " + idText(entry(m_byId[i]).id) +
                                                  " of this object is in the file already, at byte " +
                                                  std::to_string(entry(m_byId[i - 1]).begin));
    }

    Entry const &entry(std::int32_t index) const { return m_entries[static_cast<std::size_t>(index)]; }

    std::int32_t find(_GUID const &id) const
    {
        auto const found = std::lower_bound(m_byId.begin(), m_byId.end(), id, [this](std::int32_t index, _GUID const &wanted) {
            return isBelow(entry(index).id, wanted);
        });
        return found != m_byId.end() && isSame(entry(*found).id, id) ? *found : kNone;
    }

    // The header

    void header()
    {
        if (!m_header.isWhole)
            return;
        ValueWalk walk(m_source, m_header.begin);
        StoredValue id;
        int numbers = 2; // behind an id: its position, then its size
        std::int32_t position = kNone;
        std::vector<std::int32_t> pictures;
        while (walk.next())
        {
            StoredValue const &value = walk.value();
            if (value.kind == Kind::Double && !std::isfinite(value.reals.front()))
                error(value.begin, "the metrics factor is " + number(value.reals.front()));
            if (value.nested > 0 || value.section > 6)
                continue;
            if (value.kind == Kind::Id)
            {
                if (value.section == 1 && value.ordinal == 0)
                    m_pool = value.id;
                else if (std::int32_t const named = headerId(value); named != kNone && isPicture(value))
                    pictures.push_back(named);
                id = value;
                numbers = value.section == 1 || value.section == 5 ? 0 : 2;
                continue;
            }
            bool const isPlace = value.kind == Kind::Long && numbers < 2 && value.ordinal > 1;
            if (isPlace && numbers == 0)
                position = value.number;
            else if (isPlace)
                checkPlace(id, position, value.number);
            numbers = isPlace ? numbers + 1 : 2;
        }
        std::sort(pictures.begin(), pictures.end());
        for (std::size_t i = 0; i < m_entries.size(); ++i)
            if (m_entries[i].known == KnownClass::Picture &&
                !std::binary_search(pictures.begin(), pictures.end(), static_cast<std::int32_t>(i)))
                warning(m_entries[i].begin, "this picture is not in the list of the header");
    }

    static bool isPicture(StoredValue const &value) { return value.section == 5 || (value.section == 1 && value.ordinal == 4); }

    static std::string headerRole(StoredValue const &value)
    {
        switch (value.section)
        {
        case 1: return value.ordinal == 1 ? "the construct" : value.ordinal == 7 ? "the index" : "a picture";
        case 3: return "the ppActions";
        case 4: return "the sketch";
        case 5: return "a picture";
        default: return "the radial reinforcement";
        }
    }

    std::int32_t headerId(StoredValue const &value)
    {
        if (isSame(value.id, kNoId))
            return kNone;
        std::int32_t const named = find(value.id);
        if (named == kNone)
            error(value.begin,
                  "the header names " + idText(value.id) + " for " + headerRole(value) + ", which is not in the file");
        else if (isPicture(value) && entry(named).known != KnownClass::Picture)
            error(value.begin, "the header names " + idText(value.id) + " for a picture, which is none");
        return named;
    }

    void checkPlace(StoredValue const &id, std::int32_t position, std::int32_t size)
    {
        std::int32_t const named = isSame(id.id, kNoId) ? kNone : find(id.id);
        if (named == kNone)
            return;
        std::int64_t const at = m_header.end + position;
        if (size < 0)
            warning(id.begin, "the header gives no place for " + headerRole(id) + ", which is at byte " +
                                  std::to_string(entry(named).begin));
        else if (at != entry(named).begin || size != entry(named).size)
            error(id.begin, "the header places " + headerRole(id) + " at byte " + std::to_string(at) + ", " +
                                std::to_string(size) + " bytes long, but it is at byte " + std::to_string(entry(named).begin) +
                                ", " + std::to_string(entry(named).size) + " bytes long");
    }

    // Objects

    void object(std::int32_t index)
    {
        Entry &self = m_entries[static_cast<std::size_t>(index)];
        std::int32_t type = kNone;
        std::int64_t idsLeft = 0;
        std::int64_t listBegin = 0;
        bool isInList = false;
        auto const endList = [&] {
            if (isInList && idsLeft != 0)
                error(listBegin, "a list of " + std::string(nounOf(self.known)) + " " + idText(self.id) + " has " +
                                     std::to_string(std::abs(idsLeft)) + (idsLeft > 0 ? " ids less" : " ids more") +
                                     " than its count says");
            isInList = false;
        };
        ValueWalk walk(m_source, self.begin);
        while (walk.next())
        {
            StoredValue const &value = walk.value();
            for (double const real : value.reals)
                if (!std::isfinite(real))
                    error(value.begin, std::string(value.kind == Kind::Point ? "a coordinate" : "a value") + " of this " +
                                           std::string(nounOf(self.known)) + " is " + number(real));
            bool const isMember = value.kind == Kind::Id && isInList;
            idsLeft -= isMember ? 1 : 0;
            if (!isMember)
                endList();
            if (value.kind == Kind::Id)
                reference(index, value);
            if (value.nested > 0 || value.section != 1)
                continue;
            if (isCount(value))
            {
                isInList = true;
                idsLeft = value.number;
                listBegin = value.begin;
            }
            if (value.owner == KnownClass::Parameter && value.ordinal == 1 && value.kind == Kind::Long)
                type = checkType(value);
            if (value.owner == KnownClass::Parameter && value.kind == Kind::Variant)
                checkValue(value, type);
        }
        endList();
        byLibrary(self, walk.classNames());
    }

    static bool isCount(StoredValue const &value)
    {
        if (value.kind != Kind::Long)
            return false;
        switch (value.owner)
        {
        case KnownClass::Parameter: return value.ordinal == 6;
        case KnownClass::Category: return value.ordinal == 1;
        case KnownClass::GroupCategory:
        case KnownClass::ParamRelation: return value.ordinal == 0;
        default: return false;
        }
    }

    void reference(std::int32_t index, StoredValue const &value)
    {
        bool const isOwn = value.owner == KnownClass::Object && value.nested == 0;
        if (isOwn || !value.isComplete || isSame(value.id, kNoId) || isSame(value.id, m_pool))
            return;
        Reference const expected = value.nested == 0 ? referenceOf(value) : Reference();
        std::int32_t const named = find(value.id);
        if (named == kNone)
        {
            // What a newer release or a nested frame means by an id is not known.
            if (expected.role == nullptr && value.owner == KnownClass::Other && value.nested == 0)
                warning(value.begin, "the id " + idText(value.id) + " in this object is of none in the file");
            else if (expected.role != nullptr)
                error(value.begin, "the " + std::string(expected.role) + " " + idText(value.id) + " of this " +
                                       nounOf(m_entries[static_cast<std::size_t>(index)].known) + " is not in the file");
            return;
        }
        if (expected.target != KnownClass::Other && entry(named).known != expected.target)
        {
            error(value.begin, "the " + std::string(expected.role) + " " + idText(value.id) + " of this " +
                                   nounOf(m_entries[static_cast<std::size_t>(index)].known) + " is no " +
                                   nounOf(expected.target));
            return;
        }
        if (expected.isParent)
            m_entries[static_cast<std::size_t>(index)].parent = named;
        if (expected.isMember)
            m_listed.push_back({index, named});
    }

    std::int32_t checkType(StoredValue const &value)
    {
        std::int32_t const type = value.number;
        // Not set, and the length without a name.
        bool const isKnown = type == -1 || type == 0 || !OKTDbParameter::getNameFromType(type).IsEmpty();
        if (!isKnown)
            warning(value.begin, "the type " + std::to_string(type) + " of this parameter is none that is known");
        return type;
    }

    void checkValue(StoredValue const &value, std::int32_t type)
    {
        switch (value.variantKind)
        {
        case VT_EMPTY:
        case VT_NULL: return;
        case VT_I2:
        case VT_I4:
        case VT_R4:
        case VT_R8:
        case VT_BSTR:
        case VT_BOOL: break;
        default:
            warning(value.begin, "the value of this parameter is of the kind " + std::to_string(value.variantKind) +
                                     ", which no file can hold");
            return;
        }
        OKTDbParameter parameter;
        parameter.setType(type);
        if (!parameter.isInDrawingUnits())
            return;
        if (value.variantValue != Kind::Double || value.reals.empty())
            warning(value.begin, "the value of this parameter is a length by its type, but of the kind " +
                                     kindName(static_cast<VARTYPE>(value.variantKind)));
        else if (double const size = std::abs(value.reals.front());
                 std::isfinite(size) && size != 0 && (size > kLongest || size < kShortest))
            warning(value.begin, "the length of this parameter is " + number(value.reals.front()) + " metres");
    }

    void byLibrary(Entry const &self, std::vector<std::string> const &classNames)
    {
        Stretch stretch;
        stretch.begin = self.begin;
        stretch.end = self.begin + static_cast<std::int64_t>(self.size);
        stretch.classNames = classNames;
        if (std::string const fault = libraryReadFault(m_source, stretch, kLargestRead); !fault.empty())
            error(self.begin, "damaged: " + fault);
        if (self.known != KnownClass::Picture || self.size > kLargestRead)
            return;
        std::string const bytes = m_source.copy(self.begin, self.size);
        CByteArray picture;
        std::copy(bytes.begin(), bytes.end(), picture.Extend(static_cast<int>(bytes.size())));
        if (std::string const fault = pictureTextFault(picture); !fault.empty())
            error(self.begin, "this picture has a damaged text: " + fault);
    }

    // Lists and those that stand in them

    void links()
    {
        std::sort(m_listed.begin(), m_listed.end());
        for (std::size_t i = 0; i < m_listed.size(); ++i)
        {
            Entry const &list = entry(m_listed[i].list);
            Entry const &member = entry(m_listed[i].member);
            if (i > 0 && !(m_listed[i - 1] < m_listed[i]))
                warning(list.begin, "this " + std::string(nounOf(list.known)) + " lists the " + nounOf(member.known) + " " +
                                        idText(member.id) + " twice");
            else if (member.parent != m_listed[i].list)
                warning(member.begin, "the " + std::string(nounOf(list.known)) + " " + idText(list.id) + " lists this " +
                                          nounOf(member.known) + ", which names " +
                                          (member.parent == kNone ? "none"
                                                                  : "the " + std::string(nounOf(list.known)) + " " +
                                                                        idText(entry(member.parent).id)));
        }
        for (std::size_t i = 0; i < m_entries.size(); ++i)
        {
            Entry const &member = m_entries[i];
            if (member.parent == kNone)
                continue;
            Listed const wanted = {member.parent, static_cast<std::int32_t>(i)};
            if (!std::binary_search(m_listed.begin(), m_listed.end(), wanted))
                warning(member.begin, "this " + std::string(nounOf(member.known)) + " names the " +
                                          nounOf(entry(member.parent).known) + " " + idText(entry(member.parent).id) +
                                          ", which does not list it");
        }
    }

    void unknownClasses()
    {
        for (auto const &[name, found] : m_unknown)
            warning(found.second, plural(found.first, "object") + " of the class \"" + name +
                                      "\", which is not known here; a load stops at the first");
    }

    ByteSource &m_source;
    HeaderPlace const &m_header;
    std::function<void(Finding const &)> const &m_onFinding;
    Progress m_progress;
    Verdict m_verdict;
    _GUID m_pool = {};
    std::vector<Entry> m_entries; ///< in the order of the file
    std::vector<std::int32_t> m_byId;
    std::vector<Listed> m_listed;
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> m_unknown; ///< by class: how many, and the place of the first
};

} // namespace

Verdict verify(FileScan &scan, std::function<void(Finding const &)> const &onFinding)
{
    return Verifier(scan, onFinding).run();
}

} // namespace okt
