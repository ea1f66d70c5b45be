// SPDX-License-Identifier: MIT
#include <oktformat/guids.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/objectread.h>
#include <oktinspect/recover.h>
#include <oktinspect/recoverycheck.h>
#include <oktinspect/verifier.h>

#include "oktinspect/damages.h"

#include "support/clientclasses.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

using namespace okt;

namespace
{

constexpr int kDamagesEach = 32;           // of each file
constexpr char kPngText[] = "iVBORw0KGgo"; // how the text of every PNG begins

struct Known
{
    std::string bytes;
    std::size_t begin;
    std::string id; ///< 16 bytes; empty: none
};

std::vector<Known> objectsOf(std::string const &file)
{
    ByteSource source{std::string_view(file)};
    ObjectScan scan(source, findHeader(source).end);
    std::vector<Known> objects;
    while (std::optional<Stretch> const stretch = scan.next())
        if (stretch->kind == Stretch::Kind::Object)
        {
            std::string id;
            if (stretch->id)
                id.assign(reinterpret_cast<char const *>(&*stretch->id), sizeof(_GUID));
            objects.push_back({source.copy(stretch->begin, stretch->size()), static_cast<std::size_t>(stretch->begin), id});
        }
    return objects;
}

bool contains(std::string const &bytes, std::string const &part) { return bytes.find(part) != std::string::npos; }

/// Of a class that is not known here only the records are checked, of a later release not even its values: both are told, and nobody
/// can tell another name or number from the right one.
bool isUnchecked(std::string const &bytes)
{
    ByteSource source{std::string_view(bytes)};
    CString const name = ObjectScan(source, 0).examine(0).className();
    return !isRegistered(name) || contains(bytes, "OKTDbFutureValue");
}

/// The four records that an id is stored in.
std::string recordsOf(std::string const &id)
{
    std::string records;
    for (std::size_t word = 0; word < 4; ++word)
        records += "\x02" + id.substr(4 * word, 4);
    return records;
}

/// The two differ in the payload of numbers and texts, and in the words of the object's own id: nobody can tell that one of them is
/// damaged. What else a record has tells it: its kind and length, class names, versions, sections, the ids of others, a PNG.
bool differsInPayloadAlone(std::string const &left, std::string const &right)
{
    if (left.size() != right.size())
        return false;
    bool const isPng = contains(left, kPngText);
    ByteSource leftSource{std::string_view(left)};
    ByteSource rightSource{std::string_view(right)};
    RecordWalk a(leftSource, 0);
    RecordWalk b(rightSource, 0);
    int ids = 0;
    int inId = 0;
    while (a.next() && b.next())
    {
        RecordPlace const &one = a.record();
        if (one.type != b.record().type || one.begin != b.record().begin || one.end != b.record().end)
            return false;
        auto const begin = static_cast<std::size_t>(one.begin);
        auto const size = static_cast<std::size_t>(one.end - one.begin);
        if (one.type == RecordType::FrameBegin && contains(left.substr(begin, size), "OKTObjectId"))
        {
            ++ids;
            inId = 6; // with the begin of the section
        }
        inId -= inId > 0 ? 1 : 0;
        if (left.compare(begin, size, right, begin, size) == 0)
            continue;
        bool const isPayload = one.type == RecordType::Short || one.type == RecordType::Long ||
                               one.type == RecordType::Double || one.type == RecordType::Text16 ||
                               (one.type == RecordType::Text8 && !isPng);
        if (!isPayload || (inId > 0 && ids > 1))
            return false;
    }
    return a.state() == RecordWalk::State::Whole && b.state() == RecordWalk::State::Whole;
}

/// The front of one object with the end of another, or of the same once more, in records that fit each other: that shows only in
/// what they name, and in a PNG.
bool isJoined(std::string const &bytes, std::vector<Known> const &objects)
{
    if (contains(bytes, kPngText))
        return false;
    std::size_t front = 0;
    std::size_t back = 0;
    for (Known const &object : objects)
    {
        auto const limit = static_cast<std::ptrdiff_t>(std::min(bytes.size(), object.bytes.size()));
        front = std::max(front,
                         static_cast<std::size_t>(
                             std::mismatch(bytes.begin(), bytes.begin() + limit, object.bytes.begin()).first - bytes.begin()));
        back = std::max(
            back, static_cast<std::size_t>(std::mismatch(bytes.rbegin(), bytes.rbegin() + limit, object.bytes.rbegin()).first -
                                           bytes.rbegin()));
    }
    return front + back >= bytes.size();
}

struct Sum
{
    int files = 0;
    int clean = 0;
    int doubtful = 0;
    int missing = 0;
};

class RecoveryClaims : public testing::Test
{
protected:
    RecoveryClaims() : m_files(filesToDamage(m_folder))
    {
        for (auto const &[name, bytes] : m_files)
            m_objects.push_back(objectsOf(bytes));
    }

    std::size_t any() { return m_random() % m_files.size(); }

    /// A place in a file: often in the header or a small object, which most bytes do not belong to.
    std::size_t place(std::size_t file)
    {
        std::vector<Known> const &objects = m_objects[file];
        std::string const &bytes = m_files[file].second;
        if (objects.empty() || m_random() % 4 == 0)
            return m_random() % bytes.size();
        if (m_random() % 6 == 0)
            return m_random() % objects.front().begin;
        Known const &object = objects[m_random() % objects.size()];
        return object.begin + m_random() % std::min<std::size_t>(object.bytes.size(), 1000);
    }

    /// Objects of `second` may stand in the damaged file, too.
    void expectTrueClaims(std::string const &damaged, std::size_t first, std::size_t second, std::string const &what)
    {
        if (damaged.empty() || damaged == m_files[first].second)
            return;
        ByteSource source{std::string_view(damaged)};
        Recovery recovery(source);
        if (recovery.isNothing())
            return;
        RecoveryCheck const check = checkRecovery(recovery, "made");
        std::string made;
        recovery.write([&made](std::string_view piece) { made += piece; });
        std::vector<Known> originals = m_objects[first];
        if (second != first)
            originals.insert(originals.end(), m_objects[second].begin(), m_objects[second].end());
        std::vector<Known> const found = objectsOf(made);
        EXPECT_EQ(found.size(), recovery.objects().size()) << what;
        ++m_sum.files;
        m_sum.clean += check.isClean ? 1 : 0;
        m_sum.doubtful += static_cast<int>(check.doubtfulObjects);
        m_sum.missing += static_cast<int>(check.missing.size());
        expectVerdict(made, check, what);
        expectRescued(found, originals, check, what);
        if (check.isClean)
            expectNothingLost(made, found, m_objects[first], what);
    }

    /// What okt verify says about the file that was made is what was told.
    static void expectVerdict(std::string const &made, RecoveryCheck const &check, std::string const &what)
    {
        ByteSource source{std::string_view(made)};
        Verdict const verdict = verify(source).verdict;
        EXPECT_EQ(findingsText(verdict), findingsText(check.verdict)) << what;
        if (check.isClean)
        {
            EXPECT_EQ(verdict.errors + verdict.warnings, 0) << what;
        }
    }

    /// What is called neither doubtful nor in want of a missing one is as it was, as far as anybody can tell.
    static void expectRescued(std::vector<Known> const &found, std::vector<Known> const &originals, RecoveryCheck const &check,
                              std::string const &what)
    {
        std::set<std::size_t> doubtful;
        for (RecoveryCheck::Remark const &remark : check.doubts)
            doubtful.insert(static_cast<std::size_t>(remark.finding.object));
        for (Known const &object : found)
        {
            bool const isTold =
                doubtful.count(object.begin) != 0 ||
                std::any_of(check.missing.begin(), check.missing.end(), [&object](RecoveryCheck::MissingId const &missing) {
                    return contains(object.bytes, recordsOf({reinterpret_cast<char const *>(&missing.id), sizeof missing.id}));
                });
            bool const isAsItWas = std::any_of(originals.begin(), originals.end(), [&object](Known const &original) {
                return original.bytes == object.bytes || differsInPayloadAlone(original.bytes, object.bytes);
            });
            EXPECT_TRUE(isTold || isAsItWas || isUnchecked(object.bytes) || isJoined(object.bytes, originals))
                << what << ", object at " << object.begin;
        }
    }

    /// "0 lost": each object is there, or nothing in the file tells that there was one.
    static void expectNothingLost(std::string const &made, std::vector<Known> const &found, std::vector<Known> const &originals,
                                  std::string const &what)
    {
        for (Known const &original : originals)
        {
            bool const isThere = std::any_of(found.begin(), found.end(), [&original](Known const &object) {
                return object.bytes == original.bytes || differsInPayloadAlone(original.bytes, object.bytes);
            });
            auto const hasId = [&original](Known const &object) { return object.id == original.id; };
            EXPECT_TRUE(isThere || std::any_of(found.begin(), found.end(), hasId) || !contains(made, recordsOf(original.id)))
                << what << ", object at " << original.begin;
        }
    }

    ClientClasses m_classes;
    ReportCatcher m_reports;
    ScratchFolder m_folder;
    std::vector<std::pair<std::string, std::string>> m_files;
    std::vector<std::vector<Known>> m_objects;
    std::mt19937 m_random{20240612};
    Sum m_sum;
};

/// Whatever happens to a file: what is claimed of the recovered one is true by what is known of the undamaged one.
TEST_F(RecoveryClaims, EveryKindOfDamage_NothingIsClaimedThatIsNotSo)
{
    for (std::size_t file = 0; file < m_files.size(); ++file)
        for (int i = 0; i < kDamagesEach; ++i)
        {
            auto const &[name, bytes] = m_files[file];
            std::vector<Known> const &objects = m_objects[file];
            std::size_t const at = place(file);
            std::size_t other = file;
            std::string damaged = bytes;
            switch (i % 8)
            {
            case 0: damaged[at] = static_cast<char>(m_random()); break;
            case 1: damaged[at] = static_cast<char>(damaged[at] ^ (1 << (m_random() % 8))); break;
            case 2: damaged.resize(at); break;
            case 3: damaged.erase(at, 1 + m_random() % 600); break;
            case 4: damaged.insert(at, bytes.substr(place(file), 1 + m_random() % 600)); break;
            case 5: // the first half of one file with the second half of another
                other = any();
                damaged = bytes.substr(0, at) + m_files[other].second.substr(place(other));
                break;
            case 6: // whole objects of two files
                other = any();
                if (!objects.empty() && !m_objects[other].empty())
                    damaged = bytes.substr(0, objects[m_random() % objects.size()].begin) +
                              m_files[other].second.substr(m_objects[other][m_random() % m_objects[other].size()].begin);
                break;
            default: // from one object into another, at the same place of both
                if (objects.size() > 1)
                {
                    std::size_t const from = m_random() % (objects.size() - 1);
                    std::size_t const to = from + 1 + m_random() % (objects.size() - from - 1);
                    std::size_t const inside = m_random() % std::min(objects[from].bytes.size(), objects[to].bytes.size());
                    damaged = bytes.substr(0, objects[from].begin + inside) + bytes.substr(objects[to].begin + inside);
                }
                break;
            }
            expectTrueClaims(damaged, file, other, name + ", damage " + std::to_string(i));
        }
    RecordProperty("files", m_sum.files);
    RecordProperty("clean", m_sum.clean);
    EXPECT_GT(m_sum.files, 2000);
    EXPECT_GT(m_sum.clean, 50);
    EXPECT_GT(m_sum.doubtful, 500);
    EXPECT_GT(m_sum.missing, 500);
}

void expectNoPlaceOfNone(CByteArray const &image, std::size_t mends)
{
    ByteSource source(image);
    std::string file;
    Recovered const outcome = recover(source, [&file](std::string_view piece) { file += piece; });
    EXPECT_EQ(outcome.mends.size(), mends);
    for (Finding const &mend : outcome.mends)
        EXPECT_EQ(sentenceOf(mend), "the header gives a place for the construct, but names none");
    ByteSource mended{std::string_view(file)};
    Verification const found = verify(mended);
    for (Finding const &finding : found.findings)
        EXPECT_NE(finding.code, Finding::Code::Place) << sentenceOf(finding);
    EXPECT_EQ(found.verdict.objects, 2);
}

// The pool has no construct, and an object has no id: the header names no place for a construct afterwards.
TEST(RecoveryClaim, ObjectWithoutId_IsNotTheOneOfARoleWithoutId)
{
    HeaderFields fields;
    fields.construct = {7, 9};
    StreamBuilder objects;
    objects.append(relationFrame("")).append(relationFrame("{00000001-1111-1111-1111-111111111111}"));
    CByteArray image = poolImage(fields, objects);
    expectNoPlaceOfNone(image, 1);
    image.SetAt(30, 11); // no record: the header is made anew
    expectNoPlaceOfNone(image, 0);
}

/// What a load finds behind a number that it has read.
std::optional<CString> nextBehindNumber(std::initializer_list<int> bytes)
{
    CByteArray const all = StreamBuilder().integer(1).raw(bytes).bytes();
    OKTMemoryFiler filer;
    filer.readInPlace(all);
    int number = 0;
    EXPECT_TRUE(filer.readInt(CString(), number));
    return nextObjectIn(filer, all);
}

TEST(OktObjectRead, NextObject_AlsoWhereItsNameGoesOnBehindTheBytes)
{
    EXPECT_EQ(nextBehindNumber({7, 6, 5, 1, 0, 'A', 2, 1, 0, 0, 0, 7}), CString(u"A"));
    EXPECT_EQ(nextBehindNumber({7, 6, 5, 9, 0, 'A', 2, 1, 0, 0, 0, 7}), CString());
    EXPECT_EQ(nextBehindNumber({9, 7, 6, 5}), CString());
    EXPECT_EQ(nextBehindNumber({6, 5, 1, 0, 'A'}), std::nullopt); // no end of a frame stands in front of it
    EXPECT_EQ(nextBehindNumber({7, 9, 6, 5, 9, 0}), std::nullopt);
    EXPECT_EQ(nextBehindNumber({7, 7, 6}), std::nullopt);

    CByteArray const first = bytesOf({6, 5, 9, 0, 'A'}); // where the bytes begin, nothing needs to stand in front of it
    OKTMemoryFiler filer;
    filer.readInPlace(first);
    EXPECT_EQ(nextObjectIn(filer, first), CString());
}

} // namespace
