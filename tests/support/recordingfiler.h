// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktgexyz.h>
#include <oktdatabase/oktmemoryfiler.h>

#include <deque>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

/// The diary of a filer: a line for each call, and the calls that are to fail.
///
/// A line is the operation, the name and the value:
///
///     beginWriteClass Object OKTDbParameter 2         writeVariant m_varValue VT_R8 2.5
///     beginWriteMembers 1                             writeByteArray m_data 2: 01 FF
///     writeInt m_nParamType 6                         writePoint3d m_pntCamera (1, 2, 3)
///     writeString m_strUserName "Cover"               writeObjectId m_idOwner {00000000-0000-0000-0000-000000000000}
///     endWriteMembers                                 readInt m_nParamType
///
/// The overloads have operations of their own: writeInt and writeUnsignedInt, writeLong and writeUnsignedLong, writeShort and
/// writeUnsignedShort, writeBool and writeBoolInt, and the same with read. While 8-bit strings are on, the line of a string
/// ends in ` ansi`.
class CallRecord
{
public:
    /// What the object under test called, without the calls that the filer made on itself for it.
    std::vector<std::string> const &calls() const { return m_calls; }
    /// All calls; those that the filer made on itself are indented by two blanks each level.
    std::vector<std::string> const &allCalls() const { return m_allCalls; }
    void clearCalls();

    /// The nth (from 1) call of the operation is recorded, not done, and false. Operations are named as in the lines; only the
    /// calls that calls() shows count.
    void failAt(std::string const &operation, int nth) { m_failing[operation].insert(nth); }
    /// The same with a std::runtime_error in place of the false.
    void throwAt(std::string const &operation, int nth) { m_throwing[operation].insert(nth); }
    /// The same among the calls that the filer makes on itself, as for the words of an id.
    void failInsideAt(std::string const &operation, int nth) { failAt(kInside + operation, nth); }
    void throwInsideAt(std::string const &operation, int nth) { throwAt(kInside + operation, nth); }

protected:
    template <typename Forward> bool perform(std::string const &operation, std::string const &values, Forward forward)
    {
        if (!note(operation, values))
            return false;
        Level const level(m_level);
        return forward();
    }

private:
    static constexpr char const *kInside = "inside ";

    struct Level
    {
        explicit Level(std::size_t &level) : m_counter(level) { ++m_counter; }
        Level(Level const &) = delete;
        Level &operator=(Level const &) = delete;
        ~Level() { --m_counter; }
        std::size_t &m_counter;
    };

    bool note(std::string const &operation, std::string const &values);

    std::vector<std::string> m_calls;
    std::vector<std::string> m_allCalls;
    std::map<std::string, int> m_counts;
    std::map<std::string, std::set<int>> m_failing;
    std::map<std::string, std::set<int>> m_throwing;
    std::size_t m_level = 0;
};

/// The binary filer with a diary: every call is done by OKTMemoryFiler.
class RecordingFiler : public OKTMemoryFiler, public CallRecord
{
public:
    explicit RecordingFiler(OKTDbPool *pool = nullptr) : OKTMemoryFiler(pool) {}

    bool beginWriteClass(CString name, CString className, int version) override;
    bool endWriteClass() override;
    bool beginWriteMembers(int section) override;
    bool endWriteMembers() override;
    bool writeDouble(CString const &name, double const &value) override;
    bool writeLong(CString const &name, unsigned long const &value) override;
    bool writeLong(CString const &name, long const &value) override;
    bool writeString(CString const &name, CString const &value) override;
    bool writeObjectId(CString const &name, OKTDbObjectId const &value) override;
    bool writePoint3d(CString const &name, OKTGeXYZ const &value) override;
    bool writeBool(CString const &name, bool const &value) override;
    bool writeBool(CString const &name, int const &value) override;
    bool writeInt(CString const &name, unsigned int const &value) override;
    bool writeInt(CString const &name, int const &value) override;
    bool writeShort(CString const &name, unsigned short const &value) override;
    bool writeShort(CString const &name, short const &value) override;
    bool writeVariant(CString const &name, tagVARIANT const &value) override;
    bool writeByteArray(CString const &name, CByteArray const &value) override;
    bool beginReadClass(CString name, CString className) override;
    bool endReadClass() override;
    bool beginReadMembers(int section) override;
    bool endReadMembers() override;
    bool readString(CString const &name, CString &value) override;
    bool readLong(CString const &name, unsigned long &value) override;
    bool readLong(CString const &name, long &value) override;
    bool readDouble(CString const &name, double &value) override;
    bool readObjectId(CString const &name, OKTDbObjectId &value) override;
    bool readPoint3d(CString const &name, OKTGeXYZ &value) override;
    bool readBool(CString const &name, bool &value) override;
    bool readBool(CString const &name, int &value) override;
    bool readInt(CString const &name, unsigned int &value) override;
    bool readInt(CString const &name, int &value) override;
    bool readShort(CString const &name, unsigned short &value) override;
    bool readShort(CString const &name, short &value) override;
    bool readVariant(CString const &name, tagVARIANT &value) override;
    bool readByteArray(CString const &name, CByteArray &value) override;

    using OKTFiler::xmlInVariant;
    using OKTFiler::xmlOutVariant;
};

/// A filer without a stream: every operation is true, save those told to fail. A read takes the first value that was given for
/// its operation and is still there; without one it leaves its target unchanged.
class ScriptedFiler : public OKTFiler, public CallRecord
{
public:
    explicit ScriptedFiler(OKTDbPool *pool = nullptr) : OKTFiler(pool) {}

    void giveString(CString const &value) { m_texts.push_back(value); }
    void giveUnsignedLong(unsigned long value) { m_unsignedLongs.push_back(value); }
    void giveLong(long value) { m_longs.push_back(value); }
    void giveDouble(double value) { m_doubles.push_back(value); }
    void giveObjectId(OKTDbObjectId const &value) { m_ids.push_back(value); }
    void givePoint3d(OKTGeXYZ const &value) { m_points.push_back(value); }
    void giveBool(bool value) { m_bools.push_back(value); }
    void giveBoolInt(int value) { m_boolInts.push_back(value); }
    void giveUnsignedInt(unsigned int value) { m_unsignedInts.push_back(value); }
    void giveInt(int value) { m_ints.push_back(value); }
    void giveUnsignedShort(unsigned short value) { m_unsignedShorts.push_back(value); }
    void giveShort(short value) { m_shorts.push_back(value); }
    void giveVariant(tagVARIANT const &value) { m_variants.push_back(value); }
    void giveByteArray(CByteArray const &value) { m_byteArrays.push_back(value); }

    bool beginWriteClass(CString name, CString className, int version) override;
    bool endWriteClass() override;
    bool beginWriteMembers(int section) override;
    bool endWriteMembers() override;
    bool writeDouble(CString const &name, double const &value) override;
    bool writeLong(CString const &name, unsigned long const &value) override;
    bool writeLong(CString const &name, long const &value) override;
    bool writeString(CString const &name, CString const &value) override;
    bool writeObjectId(CString const &name, OKTDbObjectId const &value) override;
    bool writePoint3d(CString const &name, OKTGeXYZ const &value) override;
    bool writeBool(CString const &name, bool const &value) override;
    bool writeBool(CString const &name, int const &value) override;
    bool writeInt(CString const &name, unsigned int const &value) override;
    bool writeInt(CString const &name, int const &value) override;
    bool writeShort(CString const &name, unsigned short const &value) override;
    bool writeShort(CString const &name, short const &value) override;
    bool writeVariant(CString const &name, tagVARIANT const &value) override;
    bool writeByteArray(CString const &name, CByteArray const &value) override;
    bool beginReadClass(CString name, CString className) override;
    bool endReadClass() override;
    bool beginReadMembers(int section) override;
    bool endReadMembers() override;
    bool readString(CString const &name, CString &value) override;
    bool readLong(CString const &name, unsigned long &value) override;
    bool readLong(CString const &name, long &value) override;
    bool readDouble(CString const &name, double &value) override;
    bool readObjectId(CString const &name, OKTDbObjectId &value) override;
    bool readPoint3d(CString const &name, OKTGeXYZ &value) override;
    bool readBool(CString const &name, bool &value) override;
    bool readBool(CString const &name, int &value) override;
    bool readInt(CString const &name, unsigned int &value) override;
    bool readInt(CString const &name, int &value) override;
    bool readShort(CString const &name, unsigned short &value) override;
    bool readShort(CString const &name, short &value) override;
    bool readVariant(CString const &name, tagVARIANT &value) override;
    bool readByteArray(CString const &name, CByteArray &value) override;

    using OKTFiler::xmlInVariant;
    using OKTFiler::xmlOutVariant;

private:
    std::deque<CString> m_texts;
    std::deque<unsigned long> m_unsignedLongs;
    std::deque<long> m_longs;
    std::deque<double> m_doubles;
    std::deque<OKTDbObjectId> m_ids;
    std::deque<OKTGeXYZ> m_points;
    std::deque<bool> m_bools;
    std::deque<int> m_boolInts;
    std::deque<unsigned int> m_unsignedInts;
    std::deque<int> m_ints;
    std::deque<unsigned short> m_unsignedShorts;
    std::deque<short> m_shorts;
    std::deque<tagVARIANT> m_variants;
    std::deque<CByteArray> m_byteArrays;
};
