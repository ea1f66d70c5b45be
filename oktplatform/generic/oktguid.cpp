// SPDX-License-Identifier: MIT
#include <oktplatform/oktguid.h>

#include <oktplatform/generic/oktrandom.h>

#include <cstring>

namespace
{
constexpr int kTextLength = 38;

/// Random bytes for some ids, drawn in one call. Each thread has its own. A forked process does not use those that it inherits.
struct RandomBatch
{
    unsigned char bytes[OktSystem::kMostIdsPerDraw][sizeof(GUID)];
    std::size_t left;
    unsigned int generation;
};

thread_local RandomBatch batch{};

int digitValue(WCHAR unit)
{
    if (unit >= '0' && unit <= '9')
        return unit - '0';
    if (unit >= 'A' && unit <= 'F')
        return unit - 'A' + 10;
    if (unit >= 'a' && unit <= 'f')
        return unit - 'a' + 10;
    return -1;
}

// The index of the first digit of each byte in the registry form, in the order of the text.
constexpr int kDigitPlaces[16] = {1, 3, 5, 7, 10, 12, 15, 17, 20, 22, 25, 27, 29, 31, 33, 35};

bool parse(OLECHAR const *text, GUID &guid)
{
    constexpr char kFrame[] = "{        -    -    -    -            }";
    unsigned char bytes[16] = {};
    for (int i = 0; i < kTextLength; ++i)
    {
        // A zero unit matches nothing, so a short text is not read beyond its end.
        if (kFrame[i] == ' ' ? digitValue(text[i]) < 0 : text[i] != static_cast<OLECHAR>(kFrame[i]))
            return false;
    }
    if (text[kTextLength] != 0)
        return false;
    for (int i = 0; i < 16; ++i)
        bytes[i] = static_cast<unsigned char>(digitValue(text[kDigitPlaces[i]]) * 16 + digitValue(text[kDigitPlaces[i] + 1]));
    guid.Data1 = static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
                 static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
    guid.Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    std::memcpy(guid.Data4, bytes + 8, 8);
    return true;
}
} // namespace

HRESULT CoCreateGuid(GUID *guid)
{
    if (guid == nullptr)
        return E_INVALIDARG;
    RandomBatch &own = batch;
    if (own.left == 0 || own.generation != OktSystem::processGeneration())
    {
        own.left = 0;
        own.generation = OktSystem::processGeneration();
        std::size_t const count = OktSystem::idsPerDraw();
        if (!OktSystem::randomBytes(own.bytes, count * sizeof own.bytes[0]))
        {
            *guid = GUID{};
            return E_FAIL;
        }
        own.left = count;
    }
    unsigned char *const bytes = own.bytes[--own.left];
    std::memcpy(guid, bytes, sizeof *guid);
    std::memset(bytes, 0, sizeof *guid); // no copy of an id remains
    guid->Data3 = static_cast<std::uint16_t>((guid->Data3 & 0x0FFF) | 0x4000);
    guid->Data4[0] = static_cast<unsigned char>((guid->Data4[0] & 0x3F) | 0x80);
    return S_OK;
}

HRESULT CLSIDFromString(OLECHAR const *text, CLSID *guid)
{
    if (guid == nullptr)
        return E_INVALIDARG;
    *guid = GUID{};
    return text != nullptr && parse(text, *guid) ? S_OK : CO_E_CLASSSTRING;
}

int StringFromGUID2(GUID const &guid, OLECHAR *text, int size)
{
    if (text == nullptr || size < kTextLength + 1)
        return 0;
    unsigned char const bytes[16] = {static_cast<unsigned char>(guid.Data1 >> 24),
                                     static_cast<unsigned char>(guid.Data1 >> 16),
                                     static_cast<unsigned char>(guid.Data1 >> 8),
                                     static_cast<unsigned char>(guid.Data1),
                                     static_cast<unsigned char>(guid.Data2 >> 8),
                                     static_cast<unsigned char>(guid.Data2),
                                     static_cast<unsigned char>(guid.Data3 >> 8),
                                     static_cast<unsigned char>(guid.Data3),
                                     guid.Data4[0],
                                     guid.Data4[1],
                                     guid.Data4[2],
                                     guid.Data4[3],
                                     guid.Data4[4],
                                     guid.Data4[5],
                                     guid.Data4[6],
                                     guid.Data4[7]};
    constexpr char kDigits[] = "0123456789ABCDEF";
    text[0] = u'{';
    text[9] = text[14] = text[19] = text[24] = u'-';
    for (int i = 0; i < 16; ++i)
    {
        text[kDigitPlaces[i]] = static_cast<OLECHAR>(kDigits[bytes[i] >> 4]);
        text[kDigitPlaces[i] + 1] = static_cast<OLECHAR>(kDigits[bytes[i] & 15]);
    }
    text[37] = u'}';
    text[38] = 0;
    return kTextLength + 1;
}
