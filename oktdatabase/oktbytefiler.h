// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktplatform/oktarrays.h>
#include <oktplatform/oktstring.h>

#include <array>
#include <cstdint>

/// The type byte of a record. These numbers stand in files and never change; 11 and above are no records.
enum _VariableType : int
{
    VarBool = 0,         ///< 1 byte
    VarShort = 1,        ///< 2 bytes, little-endian
    VarLong = 2,         ///< 4 bytes, little-endian
    VarDouble = 3,       ///< 8 bytes, IEEE 754, little-endian
    VarWideString = 4,   ///< unsigned 16-bit count of UTF-16 units, then the units, little-endian
    VarAnsiString = 5,   ///< unsigned 16-bit count of bytes, then the bytes in the thread's code page
    VarClassBegin = 6,   ///< followed by a VarAnsiString (class name) and a VarLong (version)
    VarClassEnd = 7,     ///< alone
    VarMembersBegin = 8, ///< followed by a VarLong (section number)
    VarMembersEnd = 9,   ///< alone
    VarByteArray = 10    ///< signed 32-bit count, then the bytes
};

/// A growing buffer of self-describing records, the byte layer of the memory filer. Knows records, not ids, classes or pools.
///
/// Made in write mode with position 0. Writing appends and leaves the position alone; reading works in read mode only. Every
/// read first sets its target to a failure value. A false with the position unmoved means that another record, or none, stands
/// there; a payload that runs past the end leaves the position behind the type byte, or behind the count of a string. A short,
/// long, double, string or byte array that ends on the very last byte of the buffer cannot be read (quirk 27).
class OKT_API OKTByteFiler
{
public:
    /// `growBy` is the least step, in bytes, by which the buffer grows.
    OKTByteFiler(int const &growBy); // NOLINT(google-explicit-constructor): the published signature
    OKTByteFiler(OKTByteFiler const &) = default;
    OKTByteFiler &operator=(OKTByteFiler const &) = default;
    virtual ~OKTByteFiler();

    /// The size of the buffer and the read position, in bytes from its start. A position outside the buffer can be set: nothing is
    /// read there.
    int getLength() const { return bytes().GetSize(); }
    int getPosition() const { return m_position; }
    void setPosition(int const &position) { m_position = position; }
    /// Non-zero: writing.
    void setWriteMode(int const &mode) { m_mode = mode; }

    /// Empties `target`, then appends the buffer to it; false in read mode.
    bool saveBytes(CByteArray &target);
    /// Empties the buffer, then appends `source` to it; false in write mode.
    bool loadBytes(CByteArray const &source);
    /// Reads `source` where it lies, from position 0 and in read mode; it must outlive the reading and stay unchanged. Writing
    /// is false from then on, until bytes are loaded.
    void readInPlace(CByteArray const &source);
    /// Hands the buffer over without a copy and is empty then.
    CByteArray takeBytes();

    /// The place of `count` new bytes at the end, which the caller sets at once. Null, and nothing appended, when the buffer
    /// would pass 2^31 - 1 bytes. The mode is not looked at.
    BYTE *extend(int count);
    /// The framing of a class. Nobody looks at the result of an end, and a section that cannot be begun counts as one that is not
    /// there. So beginFrame reserves memory for all framing of the frame that is to come, `version` sections and every end, and is
    /// false when there is none. Later writes leave that memory free.
    bool beginFrame(CString const &className, int version);
    bool beginSection(int section);
    bool endSection();
    bool endFrame();
    /// The bytes from the position on, up to `end`. Null and null in write mode, and at the end.
    BYTE const *unreadBytes(BYTE const *&end) const;

    /// False, and nothing appended, when the buffer would pass 2^31 - 1 bytes. The mode is not looked at.
    bool appendBytes(void const *data, int const &count);
    /// The writes append one record each, except writeType, which appends the type byte alone. False, and nothing appended, when the
    /// buffer would pass 2^31 - 1 bytes or there is no memory. The mode is not looked at.
    bool writeType(_VariableType const &type);
    bool writeBool(bool const &value);
    bool writeShort(unsigned short const &value);
    bool writeLong(std::uint32_t const &value);
    bool writeDouble(double const &value);
    /// A text of 65,536 units or more is cut to its length modulo 65,536 (quirk 28).
    bool writeWideString(CString const &text);
    /// The count is that of the UTF-16 units, also where the conversion is longer: the text then loses its tail (quirk 29).
    bool writeAnsiString(CString const &text);
    bool writeByteArray(CByteArray const &value);
    /// The head of a class frame: its begin, the class name, the version.
    bool writeClassBegin(CString const &className, int const &version);
    /// The frame of an id whose GUID is those 16 bytes: what beginWriteClass to endWriteClass of its stored form would append.
    bool writeIdFrame(unsigned char const *guid);

    /// The type byte, or -1. False in write mode, at the end, and for a byte of 11 or more; the position then stays.
    bool readType(int &type);
    /// Consumes the type byte when it is the expected one, else leaves the position.
    bool checkType(int const &expected);
    /// Each reads one record and stores its value. False, and the failure value stored: another record stands there, or the
    /// buffer ends within this one.
    bool readBool(unsigned char &value);   ///< failure value 255
    bool readShort(unsigned short &value); ///< failure value 65535
    bool readLong(std::uint32_t &value);   ///< failure value 0x80000001
    bool readDouble(double &value);        ///< failure value -1.7976931348623157e308
    bool readWideString(CString &text);    ///< ends at the first zero unit, the rest is passed over
    bool readAnsiString(CString &text);    ///< likewise at the first zero byte
    /// The class name of the frame that stands here; the position stays. False: there is none. Throws std::bad_alloc.
    bool findClassName(CString &className);
    bool readByteArray(CByteArray &value); ///< a negative count is reported and false
    /// Reads such a head and gives whether all of it is there under that name, case aside. The name and the version are tried even
    /// where no frame begins (quirk 34).
    bool readClassBegin(CString const &className);
    bool readIdFrame(unsigned char *guid);         ///< false, and nothing moved, unless exactly such a frame stands here
    bool checkLong(int const &expected);           ///< the position has moved in both cases
    bool checkAnsiString(CString const &expected); ///< ignores case; the position has moved in both cases

    /// Enters the section if it stands next, else leaves the position.
    bool enterMembers(int const &section);
    /// Passes over the sections left in a frame and over its end. A failed walk leaves the position where it gave up.
    bool skipMembers();
    /// Scans from the position for the bytes 6, 5 at the start of the buffer or behind a byte 7; no record is parsed, so a
    /// payload that reads 7, 6, 5 is taken for an object (quirk 32). The position stays.
    bool findNextObject(int &where);

private:
    friend class OKTImageFiler;

    /// What begins a frame, for a class name that is a literal: the same few names begin nearly all frames of a stream.
    struct ClassHead
    {
        static constexpr int kRoom = 54;

        WCHAR const *literal;
        std::uint16_t size;
        BYTE bytes[kRoom];
    };
    static constexpr std::size_t kClassHeads = 16; // a power of two

    ClassHead const *classHead(CString const &className);
    int *sectionsOwed() { return m_depth > 0 && m_depth <= kDeepest ? &m_sectionsOwed[m_depth - 1] : nullptr; }
    void forgetOwed();
    void leaveFrame();

    using TypeStack = OKTArray<_VariableType, _VariableType const &>;

    CByteArray const &bytes() const { return m_borrowed != nullptr ? *m_borrowed : m_buffer; }
    bool isBeforeEnd(int offset) const;
    BYTE const *payload() const { return bytes().GetData() + m_position; }
    bool readCount(int &count, int bytesPerElement);
    bool takeAnsiString(CString &text);
    bool readStructure(int &type);
    static bool trackStructure(TypeStack &stack, int type);
    bool skipText(int type, int bytesPerElement);
    bool skipValue();

    CByteArray m_buffer;
    int m_mode = 1;
    int m_position = 0;
    CByteArray const *m_borrowed = nullptr;
    // Bytes of framing that are to come in the open frames, and the sections among them of each frame.
    static constexpr std::size_t kDeepest = 16;
    static constexpr int kSection = 7; // its beginning and its end
    int m_owed = 0;
    mutable bool m_hasMetEnd = false; // something would have been read that stands behind the end
    std::size_t m_depth = 0;
    std::array<int, kDeepest> m_sectionsOwed = {};
    std::array<ClassHead, kClassHeads> m_classHeads = {};
};
