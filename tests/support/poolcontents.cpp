// SPDX-License-Identifier: MIT
#include "support/poolcontents.h"

#include "support/bytetext.h"
#include "support/hexbytes.h"

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktmemoryfiler.h>

#include <gtest/gtest.h>

#include <cstring>

namespace
{
// The frame of an id, up to the four records of its words.
constexpr char kIdBegin[] = "\x06\x05\x0B\0OKTObjectId\x02\x01\0\0\0\x08\x02\x01\0\0\0";
constexpr std::size_t kIdBeginSize = sizeof kIdBegin - 1;
constexpr std::size_t kRecord = 5;

std::string bytesOf(_GUID const &guid)
{
    std::string bytes(sizeof guid, '\0');
    std::memcpy(bytes.data(), &guid, sizeof guid);
    return bytes;
}

using Replacements = std::map<std::string, std::string>;

// Puts the old ids in the place of the new ones.
std::string withOldIds(std::string frame, Replacements const &oldIds)
{
    std::string const begin(kIdBegin, kIdBeginSize);
    if (oldIds.empty())
        return frame;
    for (std::size_t at = frame.find(begin); at != std::string::npos; at = frame.find(begin, at + 1))
    {
        std::size_t const words = at + kIdBeginSize + 1;
        std::string guid;
        for (std::size_t i = 0; i < 4; ++i)
            guid += frame.substr(words + i * kRecord, 4);
        auto const old = oldIds.find(guid);
        for (std::size_t i = 0; i < 4 && old != oldIds.end(); ++i)
            frame.replace(words + i * kRecord, 4, old->second, 4 * i, 4);
    }
    return frame;
}

template <typename Write> std::string frameOf(Write write)
{
    OKTMemoryFiler filer;
    FilerStatusDb const status = write(&filer);
    std::string frame = status == eFilerOk ? "" : "status " + std::to_string(status) + ": ";
    return frame + textOf(written(filer));
}
} // namespace

PoolContents contentsOf(OKTDbPool const &pool, IdMap const &newIds)
{
    Replacements oldIds;
    for (auto const &[old, fresh] : newIds)
        oldIds[bytesOf(fresh.getGuid())] = bytesOf(old.getGuid());
    PoolContents contents;
    contents.header = withOldIds(frameOf([&](OKTFiler *filer) { return pool.xmlOut(filer, InfoMap()); }), oldIds);
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
    {
        std::string guid = bytesOf(id.getGuid());
        if (auto const old = oldIds.find(guid); old != oldIds.end())
            guid = old->second;
        OKTDbObject const *const object = id.getObject();
        if (object == nullptr)
            contents.objects[guid] = {"nothing", ""};
        else
            contents.objects[guid] = {object->isA()->ClassName().ToUtf8(),
                                      withOldIds(frameOf([&](OKTFiler *filer) { return object->xmlOut(filer); }), oldIds)};
    }
    return contents;
}

std::string difference(PoolContents const &expected, PoolContents const &found)
{
    if (std::string part = differenceOfPart(expected, found); !part.empty())
        return part;
    if (found.objects.size() != expected.objects.size())
        return "objects are missing, of " + std::to_string(expected.objects.size()) + " there are " +
               std::to_string(found.objects.size());
    return found.header == expected.header ? "" : "the fields of the pool differ";
}

std::string differenceOfPart(PoolContents const &expected, PoolContents const &found)
{
    for (auto const &[guid, object] : found.objects)
    {
        auto const same = expected.objects.find(guid);
        if (same == expected.objects.end())
            return "an object of class " + object.className + " goes by another id";
        if (same->second.frame != object.frame)
            return "an object of class " + object.className + " is not whole";
    }
    return "";
}
