// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpicture.h>

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>
#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktsmartansistring.h>
#include <oktdatabase/okttools.h>
#include <oktdatabase/oktwholechunk.h>
#include <oktdatabase/oktwholeframe.h>
#include <oktplatform/oktcodepage.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{
constexpr int kChunk = 65535; // characters of base64 text in one string record

// Bytes of a frame beside its text.
constexpr std::size_t kPoint = static_cast<std::size_t>(emptyFrameSize("OKTGeXYZ", 0)) + 3 * 9;
constexpr auto kSections =
    beginMembers(1) + kEndMembers + beginMembers(2) + longRecord(0) + kEndMembers + beginMembers(3) + kEndMembers;
constexpr std::size_t kFraming =
    beginClass("OKTDbPicture", 3).size() + kObjectFrame.size() + kSections.size() + 3 * kPoint + kEndClass.size();

constexpr unsigned int kTextForm = kBase64NoPadding | kBase64NoLineBreaks;

// The base64 text of a picture, cut into chunks. Each is made when it is wanted, so that the whole text never stands in memory.
class PictureText
{
public:
    explicit PictureText(CByteArray const &data) : m_data(data)
    {
        base64EncodedLength(data.GetSize(), kTextForm); // raises for data that are too long
        m_length = lengthOf(data.GetSize());
    }

    // Characters of the text of that many bytes, and chunks of that many characters.
    static std::int64_t lengthOf(std::int64_t size) { return size / 3 * 4 + (size % 3 == 0 ? 0 : size % 3 + 1); }
    static std::int64_t chunksOf(std::int64_t length) { return (length + kChunk - 1) / kChunk; }
    // Bytes of the string records in which that text is stored: one at least.
    static std::int64_t storedLengthOf(std::int64_t size)
    {
        return lengthOf(size) + kTextHead * std::max<std::int64_t>(chunksOf(lengthOf(size)), 1);
    }

    int chunkCount() const { return static_cast<int>(chunksOf(m_length)); }

    // Good until the next call.
    CString const &chunk(int index)
    {
        std::int64_t const first = static_cast<std::int64_t>(index) * kChunk;
        std::int64_t const beyond = std::min(first + kChunk, m_length);
        if (OktThreadCodePageKeepsAscii())
        {
            m_chunk.SetUnits(static_cast<int>(beyond - first), [&](WCHAR *units, int) {
                encode(first, beyond, [&](char const *text, int length) { units = std::copy_n(text, length, units); });
            });
            return m_chunk;
        }
        // Widened, so that the filer, which narrows it again, stores the text itself.
        std::string text;
        encode(first, beyond, [&](char const *piece, int length) { text.append(piece, static_cast<std::size_t>(length)); });
        auto const length = static_cast<int>(text.size());
        m_chunk.SetUnits(OktToWideChar(CP_THREAD_ACP, text.data(), length, nullptr, 0),
                         [&](WCHAR *units, int count) { OktToWideChar(CP_THREAD_ACP, text.data(), length, units, count); });
        return m_chunk;
    }

private:
    // Gives the characters from `first` to `beyond` to `take`, a piece at a time. A chunk may begin within a group of four.
    template <typename F> void encode(std::int64_t first, std::int64_t beyond, F take) const
    {
        constexpr int kPiece = 1024; // groups
        char piece[4 * kPiece];
        for (std::int64_t group = first / 4; 4 * group < beyond; group += kPiece)
        {
            auto const bytes = static_cast<int>(std::min<std::int64_t>(m_data.GetSize() - 3 * group, 3 * kPiece));
            int size = sizeof piece;
            base64Encode(m_data.GetData() + 3 * group, bytes, piece, &size, kTextForm);
            std::int64_t const from = std::max<std::int64_t>(first - 4 * group, 0);
            std::int64_t const to = std::min<std::int64_t>(beyond - 4 * group, size);
            take(piece + from, static_cast<int>(to - from));
        }
    }

    CByteArray const &m_data;
    std::int64_t m_length;
    CString m_chunk;
};

// Decodes the text of a picture while its chunks come in, so that the whole text never stands in memory. The outcome is that of
// base64Decode for the joined chunks.
class PictureData
{
public:
    explicit PictureData(CByteArray &data) : m_data(data) { m_data.RemoveAll(); }

    void add(CString const &chunk)
    {
        if (m_hasEnded)
            return;
        std::size_t const known = m_text.size();
        appendNarrow(chunk);
        if (!decodeGroups())
        {
            keepCharacters(known);
            decodeGroups();
        }
        else if (!m_text.empty() || chunk.GetLength() > 0)
            m_isInGroup = !m_text.empty();
    }

    /// Adds the chunk that stands next. False: nothing is read, and it goes the plain way.
    bool addFrom(OKTFiler &filer)
    {
        if (m_hasEnded || m_isInGroup != !m_text.empty() || !OKTWholeChunk::take(filer, m_data, m_text))
            return false;
        m_isInGroup = !m_text.empty();
        return true;
    }

    void finish() { decode(m_text.size()); }

private:
    // In the thread's code page, from which the decoder takes what belongs to its alphabet.
    void appendNarrow(CString const &chunk)
    {
        OktTextView const units = chunk.View();
        std::size_t const before = m_text.size();
        if (OktThreadCodePageKeepsAscii())
        {
            m_text.resize(before + units.size());
            char *const target = m_text.data() + before;
            unsigned int all = 0;
            for (std::size_t i = 0; i < units.size(); ++i)
            {
                all |= units[i];
                target[i] = static_cast<char>(units[i]);
            }
            if (all < 0x80)
                return;
        }
        auto const length = static_cast<int>(units.size());
        int const size = OktToMultiByte(CP_THREAD_ACP, units.data(), length, nullptr, 0);
        m_text.resize(before + static_cast<std::size_t>(size));
        OktToMultiByte(CP_THREAD_ACP, units.data(), length, m_text.data() + before, size);
    }

    // Decodes the groups in front. False, and nothing done, where other characters are among them.
    bool decodeGroups()
    {
        std::size_t const whole = m_text.size() / 4 * 4;
        int const before = m_data.GetSize();
        if (decode(whole) != static_cast<int>(whole / 4 * 3))
        {
            m_data.SetSize(before);
            return false;
        }
        if (!std::all_of(m_text.begin() + static_cast<std::ptrdiff_t>(whole), m_text.end(), OKTWholeChunk::isDigit))
        {
            m_data.SetSize(before);
            return false;
        }
        m_text.erase(0, whole);
        return true;
    }

    // Drops what is not of the alphabet from the text behind `known`. A zero ends the text where a group would begin with it, and
    // only there.
    void keepCharacters(std::size_t known)
    {
        std::size_t kept = known;
        for (std::size_t i = known; i < m_text.size(); ++i)
        {
            char const character = m_text[i];
            m_hasEnded = character == '\0' && !m_isInGroup;
            if (m_hasEnded)
                break;
            m_isInGroup = true;
            if (!OKTWholeChunk::isDigit(character))
                continue;
            m_text[kept++] = character;
            m_isInGroup = kept % 4 != 0;
        }
        m_text.resize(kept);
    }

    int decode(std::size_t length)
    {
        if (length > static_cast<std::size_t>(std::numeric_limits<int>::max()))
            throw std::length_error("OKTDbPicture");
        int size = static_cast<int>(length / 4 * 3 + length % 4 * 3 / 4);
        if (size == 0)
            return 0;
        int const before = m_data.GetSize();
        BYTE *const place = m_data.Extend(size);
        base64Decode(m_text.data(), static_cast<int>(length), place, &size);
        m_data.SetSize(before + size);
        return size;
    }

    CByteArray &m_data;
    std::string m_text;       // what is not decoded yet: between chunks less than a group
    bool m_isInGroup = false; // a group has begun, with whatever character
    bool m_hasEnded = false;
};
} // namespace

OKTDbPicture::OKTDbPicture() = default;

OKTDbPicture::OKTDbPicture(OKTDbPicture const &other) : OKTDbObject(other) { *this = other; }

OKTDbPicture &OKTDbPicture::operator=(OKTDbPicture const &other)
{
    try
    {
        OKTDbObject::operator=(other);
        m_pictureData = other.m_pictureData;
        m_pntCamera = other.m_pntCamera;
        m_pntTarget = other.m_pntTarget;
        m_vecUp = other.m_vecUp;
    }
    OKT_ANSWER_NOTHING
    return *this;
}

OKTDbPicture::~OKTDbPicture() = default;

void OKTDbPicture::getCameraData(OKTGeXYZ &camera, OKTGeXYZ &target, OKTGeXYZ &up) const
{
    camera = m_pntCamera;
    target = m_pntTarget;
    up = m_vecUp;
}

void OKTDbPicture::setCameraData(OKTGeXYZ const &camera, OKTGeXYZ const &target, OKTGeXYZ const &up)
{
    m_pntCamera = camera;
    m_pntTarget = target;
    m_vecUp = up;
}

void OKTDbPicture::getPictureData(CByteArray &data)
try
{
    data.Copy(m_pictureData);
}
OKT_ANSWER_NOTHING

void OKTDbPicture::setPictureData(CByteArray const &data)
try
{
    m_pictureData.Copy(data);
}
OKT_ANSWER_NOTHING

// The names of reading differ from those of writing (quirk 62).

FilerStatusDb OKTDbPicture::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    OktAnnounceFrame(*filer, PictureText::storedLengthOf(m_pictureData.GetSize()) + static_cast<std::int64_t>(kFraming));
    if (!filer->beginWriteClass(u"Object", u"OKTDbPicture", 3))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlOut(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    std::optional<PictureText> text;
    int chunkCount = 0;
    auto const writeChunk = [&](CString const &name, int index) {
        CString const *chunk = nullptr;
        bool const made = OktHasMemory([&] { chunk = &text->chunk(index); });
        frame.fold(made && filer->writeString(name, *chunk));
    };
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        {
            text.emplace(m_pictureData);
            chunkCount = text->chunkCount();
            OKTSmartAnsiString const ansi(filer, true);
            if (chunkCount > 0)
                writeChunk(u"arrStrBase64[0]", 0);
            else
                frame.fold(filer->writeString(u"strBase64", CString()));
        }
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(2))
    {
        frame.enterSection();
        {
            OKTSmartAnsiString const ansi(filer, true);
            frame.fold(filer->writeInt(u"(int)arrStrBase64.GetSize() - 1", chunkCount - 1)); // -1 for no data (quirk 63)
            for (int i = 1; i < chunkCount; ++i)
                writeChunk(u"arrStrBase64[ (int)nIter ]", i);
        }
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(3))
    {
        frame.enterSection();
        frame.fold(filer->writePoint3d(u"m_pntCamera", m_pntCamera));
        frame.fold(filer->writePoint3d(u"m_pntTarget", m_pntTarget));
        frame.fold(filer->writePoint3d(u"m_vecUp", m_vecUp));
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbPicture::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", u"OKTDbPicture"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlIn(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    CByteArray pictureData;
    PictureData data(pictureData);
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        {
            OKTSmartAnsiString const ansi(filer, true);
            if (!data.addFrom(*filer))
            {
                CString chunk;
                frame.fold(filer->readString(u"strBase64", chunk));
                frame.fold(OktHasMemory([&] { data.add(chunk); }));
            }
        }
        filer->endReadMembers();
    }
    if (filer->beginReadMembers(2))
    {
        frame.enterSection();
        {
            OKTSmartAnsiString const ansi(filer, true);
            int count = 0;
            frame.fold(filer->readInt(u"nChunckNumber", count));
            for (int i = 0; i < count; ++i)
            {
                if (data.addFrom(*filer))
                    continue;
                CString chunk;
                bool const done = filer->readString(u"strChunk", chunk);
                frame.fold(done);
                frame.fold(OktHasMemory([&] { data.add(chunk); }));
                if (!done && filer->isReadingStalled())
                    break; // the count is believed only as far as the stream goes
            }
        }
        filer->endReadMembers();
    }
    frame.fold(OktHasMemory([&] { data.finish(); }));
    m_pictureData = std::move(pictureData); // emptied also without the sections of the data (quirk 64)
    if (filer->beginReadMembers(3))
    {
        frame.enterSection();
        frame.fold(filer->readPoint3d(u"m_pntCamera", m_pntCamera));
        frame.fold(filer->readPoint3d(u"m_pntTarget", m_pntTarget));
        frame.fold(filer->readPoint3d(u"m_vecUp", m_vecUp));
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbPicture)
