// SPDX-License-Identifier: MIT
#include <oktinspect/libraryread.h>
#include <oktinspect/recovery.h>
#include <tools/okt/files/files.h>

#include "oktinspect/damages.h"

#include "support/clientclasses.h"
#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using namespace okt;

namespace
{

CByteArray asBytes(std::string const &text)
{
    CByteArray bytes;
    std::copy(text.begin(), text.end(), bytes.Extend(static_cast<int>(text.size())));
    return bytes;
}

constexpr int kDamagesEach = 60;    // of each file
constexpr double kLeastBack = 0.99; // of the objects that a single damage does not touch

struct Part
{
    std::size_t begin;
    std::size_t end;
};

std::string recovered(std::string const &damaged, std::vector<Part> *objects = nullptr)
{
    ByteSource source{std::string_view(damaged)};
    Recovery recovery(source);
    std::string bytes;
    recovery.write([&bytes](std::string_view piece) { bytes += piece; });
    if (objects != nullptr)
        for (Recovery::Object const &object : recovery.objects())
            objects->push_back({static_cast<std::size_t>(object.begin), static_cast<std::size_t>(object.begin + object.size)});
    if (objects != nullptr)
        std::sort(objects->begin(), objects->end(),
                  [](Part const &left, Part const &right) { return left.begin < right.begin; });
    return bytes;
}

struct Tally
{
    std::size_t untouched = 0;
    std::size_t back = 0;
    std::size_t foreign = 0; ///< taken for objects although they touch no object's whole place
    std::size_t unread = 0;  ///< files of which the library does not read every object whose class it knows
};

/// The library reads these objects out of the file, and is content with it if no others are there.
bool isRead(std::string const &file)
{
    ByteSource source{std::string_view(file)};
    Recovery const recovery(source);
    OKTDbPool pool;
    bool const isContent = pool.loadFiler(asBytes(file));
    auto const all = static_cast<int>(recovery.objects().size());
    return pool.objectCount() == all - recovery.unknownObjects() && isContent == (recovery.unknownObjects() == 0);
}

/// Also those that the library refuses.
std::size_t wholeFrames(std::string const &file)
{
    ByteSource source{std::string_view(file)};
    ObjectScan scan(source, findHeader(source).end);
    std::size_t count = 0;
    while (std::optional<Stretch> const stretch = scan.next())
        count += stretch->kind == Stretch::Kind::Object ? 1u : 0u;
    return count;
}

void tally(Tally &sum, std::string const &whole, std::vector<Part> const &objects, Damage const &damage)
{
    std::vector<Part> found;
    std::string const file = recovered(damage.of(whole), &found);
    auto const shift =
        static_cast<std::ptrdiff_t>(damage.instead.size()) - static_cast<std::ptrdiff_t>(damage.end - damage.begin);
    std::size_t next = 0;
    for (Part const &object : objects)
    {
        bool const isBefore = object.end <= damage.begin;
        if (!isBefore && object.begin < damage.end)
            continue;
        ++sum.untouched;
        auto const moved = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(object.begin) + (isBefore ? 0 : shift));
        while (next < found.size() && found[next].begin < moved)
            ++next;
        sum.back +=
            next < found.size() && found[next].begin == moved && found[next].end - moved == object.end - object.begin ? 1u : 0u;
    }
    // At most the damaged object, if it is still a whole frame, comes on top of the untouched ones.
    std::size_t const most = wholeFrames(whole);
    sum.foreign += found.size() > most ? found.size() - most : 0;
    sum.unread += isRead(file) ? 0 : 1;
}

class RecoveryFigure : public testing::Test
{
protected:
    RecoveryFigure() : m_files(filesToDamage(m_folder)) {}

    double measure(DamageKind kind)
    {
        std::mt19937 random(20240611);
        Tally sum;
        std::size_t damages = 0;
        for (auto const &[name, bytes] : m_files)
        {
            std::vector<Part> objects;
            recovered(bytes, &objects);
            for (int i = 0; i < kDamagesEach; ++i, ++damages)
            {
                Damage const damage = randomDamage(kind, bytes, random);
                Tally one;
                tally(one, bytes, objects, damage);
                sum.untouched += one.untouched;
                sum.back += one.back;
                sum.foreign += one.foreign;
                sum.unread += one.unread;
            }
        }
        EXPECT_EQ(sum.unread, 0u);
        EXPECT_EQ(sum.foreign, 0u);
        EXPECT_GT(damages, 4000u);
        RecordProperty("damages", static_cast<int>(damages));
        RecordProperty("untouched", static_cast<int>(sum.untouched));
        RecordProperty("back", static_cast<int>(sum.back));
        return static_cast<double>(sum.back) / static_cast<double>(sum.untouched);
    }

    ClientClasses m_classes;
    ReportCatcher m_reports;
    ScratchFolder m_folder;
    std::vector<std::pair<std::string, std::string>> m_files;
};

TEST_F(RecoveryFigure, OneByteFlipped_UntouchedObjectsComeBack) { EXPECT_GE(measure(DamageKind::Flip), kLeastBack); }

TEST_F(RecoveryFigure, OnePercentCutOut_UntouchedObjectsComeBack) { EXPECT_GE(measure(DamageKind::Hole), kLeastBack); }

TEST_F(RecoveryFigure, EndCutOff_UntouchedObjectsComeBack) { EXPECT_GE(measure(DamageKind::CutOff), kLeastBack); }

TEST(Recovery, WholeFiles_TheSameBytes)
{
    ClientClasses const classes;
    for (char const *const name :
         {"empty.okt", "every-class.okt", "factor-in-header.okt", "float-value.okt", "long-strings.okt", "metrics-factor.okt",
          "newer-sections.okt", "object-order.okt", "odd-members.okt", "old-sections.okt", "oldest-header.okt",
          "other-case.okt", "pictures.okt", "quantities.okt", "stirrup.okt", "value-kinds.okt", "zero-in-text.okt"})
        EXPECT_TRUE(recovered(contents(golden(name))) == contents(golden(name))) << name;
}

} // namespace
