// SPDX-License-Identifier: MIT
#include <oktinspect/dump.h>

#include "oktinspect/stopper.h"
#include "support/files.h"
#include "support/printers.h"

#include <oktformat/guids.h>

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace okt;

namespace
{

using Kind = DumpEntry::Kind;

struct Dumped
{
    std::vector<DumpEntry> entries;
    DumpResult result = DumpResult::Whole;

    DumpEntry const *at(std::int64_t offset, Kind kind = Kind::Record) const
    {
        for (DumpEntry const &entry : entries)
            if (entry.offset == offset && entry.kind == kind)
                return &entry;
        return nullptr;
    }
    /// "offset member", one a line, of the records whose member is known.
    std::string members() const
    {
        std::string text;
        for (DumpEntry const &entry : entries)
            if (std::string const member = memberText(entry); !member.empty())
                text += std::to_string(entry.offset) + " " + member + "\n";
        return text;
    }
};

Dumped dumped(std::string const &bytes, DumpRange const &range = {}, DumpOptions const &options = {})
{
    Dumped made;
    ByteSource source{std::string_view(bytes)};
    made.result = dump(
        source, range, [&made](DumpEntry const &entry) { made.entries.push_back(entry); }, options);
    return made;
}

DumpRange from(std::int64_t offset)
{
    DumpRange range;
    range.offset = offset;
    return range;
}

DumpRange ofId(char16_t const *id)
{
    DumpRange range;
    range.id = OKTTools::getGUIDFromString(CString(id));
    return range;
}

TEST(Dump, Header_RolesOfItsMembers)
{
    Dumped const made = dumped(contents(golden("every-class.okt")), from(5));
    EXPECT_EQ(made.result, DumpResult::Whole);
    EXPECT_EQ(made.members(), "29 id\n"
                              "77 construct\n125 construct, position\n130 construct, size\n"
                              "135 picture\n183 picture, position\n188 picture, size\n"
                              "193 index\n241 index, position\n246 index, size\n"
                              "251 name\n283 metrics factor\n299 ppActions\n354 sketch\n"
                              "409 number of pictures\n414 picture\n462 picture, position\n467 picture, size\n"
                              "479 radial reinforcement\n");
    DumpEntry const *const size = made.at(246);
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(size->headerRole, HeaderRole::Index);
    EXPECT_TRUE(size->isSize);
    EXPECT_FALSE(size->isPosition);
    EXPECT_EQ(size->type, RecordType::Long);
    EXPECT_EQ(size->number, 125);
    EXPECT_EQ(size->depth, 2u);
    EXPECT_EQ(size->size, 5);
    EXPECT_EQ(size->bytes, std::string("\x02\x7D\x00\x00\x00", 5));
    EXPECT_EQ(made.at(251)->text, CString(u"every class"));
    EXPECT_EQ(made.at(283)->real, 1.0);
    EXPECT_EQ(idText(made.at(77)->id.value()), "{5512977A-E6C4-420D-B5F7-5332B461C314}");
    EXPECT_FALSE(made.at(83) != nullptr);
}

TEST(Dump, Parameter_RolesOfItsMembers)
{
    Dumped const made = dumped(contents(golden("every-class.okt")), ofId(u"{1CDB1CD8-C345-4F66-B176-83AEBC695215}"));
    EXPECT_EQ(made.result, DumpResult::Whole);
    std::string names;
    std::vector<MemberRole> roles;
    for (DumpEntry const &entry : made.entries)
        if (entry.memberRole != MemberRole::Other)
        {
            names += memberText(entry) + ", ";
            roles.push_back(entry.memberRole);
        }
    EXPECT_EQ(names, "id, name, type, value, list index, category, owner, number of used parameters, used parameter, "
                     "used parameter, expression, description, ");
    EXPECT_EQ(roles.at(1), MemberRole::ParameterName);
    EXPECT_EQ(roles.at(9), MemberRole::UsedParameter);
    EXPECT_EQ(made.entries.front().text, CString(u"OKTDbParameter"));
    EXPECT_EQ(made.entries.front().number, 2);
}

TEST(Dump, EveryClass_EveryMemberKnown)
{
    for (auto const &[id, members] :
         {std::pair(u"{A1DDE39E-F7DB-44EC-BAFB-D4A63A29323E}", "id group number of parameters parameter parameter name "),
          std::pair(u"{3859AB02-698F-4B34-B252-A7963B31AB78}", "id number of categories category "),
          std::pair(u"{4F668E11-15B0-44B5-944A-FCCD3DB74192}", "id number of parameters parameter parameter "),
          std::pair(u"{0697AB9E-59AF-4B24-90A9-1E82488CE471}", "id "),
          std::pair(u"{8B737FFE-F644-4066-A681-2580895B0897}", "id chunk number of further chunks camera target up "),
          std::pair(u"{439080EE-F923-4AFE-BA7E-DFA1C51754E7}", "id ")}) // a client's class
    {
        std::string names;
        Dumped const made = dumped(contents(golden("every-class.okt")), ofId(id));
        for (DumpEntry const &entry : made.entries)
            if (std::string const member = memberText(entry); !member.empty())
                names += member + " ";
        EXPECT_EQ(names, members);
    }
}

TEST(Dump, Damaged_FaultThenSkippedBytesThenTheNextObject)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[581] = 11;
    Dumped const made = dumped(bytes);
    EXPECT_EQ(made.result, DumpResult::Faults);
    DumpEntry const *const fault = made.at(581, Kind::Fault);
    ASSERT_NE(fault, nullptr);
    EXPECT_EQ(fault->reason, "damaged inside an OKTDbParameter that begins at byte 563");
    DumpEntry const *const skipped = made.at(563, Kind::Skipped);
    ASSERT_NE(skipped, nullptr);
    EXPECT_EQ(skipped->size, 463);
    ASSERT_NE(made.at(1026), nullptr);
    EXPECT_EQ(made.at(1026)->text, CString(u"OKTDbGroupCategory"));
    EXPECT_EQ(made.entries.front().kind, Kind::HeaderSize);
    EXPECT_EQ(made.entries.front().number, 558);
}

/// "kind offset size", one a line, of the first entries that are no remarks.
std::string firstPlaces(Dumped const &made, std::size_t count)
{
    std::string text;
    for (DumpEntry const &entry : made.entries)
        if (entry.kind != Kind::Gap && entry.kind != Kind::Fault && count > 0)
        {
            text += (entry.kind == Kind::Record       ? "record "
                     : entry.kind == Kind::HeaderSize ? "header size "
                                                      : "skipped ") +
                    std::to_string(entry.offset) + " " + std::to_string(entry.size) + "\n";
            --count;
        }
    return text;
}

TEST(Dump, DamagedHeader_EveryByteFromTheFirstOnIsInAnEntry)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    std::string noFrame = bytes;
    noFrame[5] = 0;
    EXPECT_EQ(firstPlaces(dumped(noFrame), 2), "header size 0 5\nskipped 5 558\n");
    std::string noName = bytes;
    noName[6] = 0;
    EXPECT_EQ(firstPlaces(dumped(noName), 2), "header size 0 5\nskipped 5 558\n");
    EXPECT_EQ(firstPlaces(dumped(bytes.substr(1)), 2), "skipped 0 4\nrecord 4 18\n"); // a byte is missing ahead of the header
    // An object begins where the search for objects does.
    EXPECT_EQ(firstPlaces(dumped(bytes.substr(0, 5) + "\x0B" + bytes.substr(563)), 3),
              "header size 0 5\nskipped 5 1\nrecord 6 23\n");
}

TEST(Dump, FileShorterThanTheSizeOfAHeader_NoByteThatIsNotThere)
{
    EXPECT_EQ(firstPlaces(dumped(std::string("\x02\x2E\x02", 3)), 2), "header size 0 3\n");
    EXPECT_EQ(firstPlaces(dumped(""), 2), "");
}

/// Also where the header is damaged, the fault of the object asked for is told.
TEST(Dump, OneObject_DamagedBehindADamagedHeader_Fault)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[30] = 11;
    bytes[1135] = 11;
    Dumped const made = dumped(bytes, ofId(u"{FD73AB2E-1A82-49FF-8881-F7D70F960A36}"));
    EXPECT_EQ(made.result, DumpResult::Faults);
    EXPECT_NE(made.at(1026), nullptr);
    EXPECT_NE(made.at(1135, Kind::Fault), nullptr);
}

TEST(Dump, NothingOfTheRange_SaidInTheResult)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    Dumped made = dumped(bytes, ofId(u"{0697AB9E-59AF-4B24-90A9-1E82488CE471}"));
    EXPECT_EQ(made.result, DumpResult::NoSuchId);
    EXPECT_TRUE(made.entries.empty());
    made = dumped(bytes, from(9311));
    EXPECT_EQ(made.result, DumpResult::BehindTheEnd);
    EXPECT_TRUE(made.entries.empty());
}

TEST(Dump, TextsAndBytes_AsLongAsAskedFor)
{
    DumpOptions options;
    options.longestText = 5;
    options.longestBytes = 3;
    Dumped const made = dumped(contents(golden("every-class.okt")), from(251), options);
    DumpEntry const &name = made.entries.front();
    EXPECT_EQ(name.text, CString(u"every"));
    EXPECT_TRUE(name.isShortened);
    EXPECT_EQ(name.length, 11);
    EXPECT_EQ(name.bytes, std::string("\x04\x0B\x00", 3));
    EXPECT_EQ(name.size, 25);
}

TEST(Dump, Cancelled_AtEachObject)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    EXPECT_EQ(cancelledAtEachCall([&bytes](OnProgress const &onProgress) {
                  DumpOptions options;
                  options.onProgress = onProgress;
                  dumped(bytes, {}, options);
              }),
              21);
}

} // namespace
