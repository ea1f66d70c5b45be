// SPDX-License-Identifier: MIT
#include "growth.h"

namespace
{
constexpr char const *kFiler = "Byte filer";

using Filer = std::shared_ptr<OKTByteFiler>;

Filer makeFiler() { return std::make_shared<OKTByteFiler>(1024); }

/// `size` records into one filer.
template <typename W> std::function<Run(int)> writing(W write)
{
    return [write](int size) -> Run {
        return [write, size] {
            Filer const filer = makeFiler();
            return repeat(size, [&](int) { return write(*filer); });
        };
    };
}

template <typename W> Filer readerOf(int size, W write)
{
    Filer const filer = makeFiler();
    repeat(size, [&](int) { return write(*filer); });
    filer->writeType(VarClassEnd); // a value cannot be read from the very end of a buffer (quirk 27)
    filer->setWriteMode(0);
    return filer;
}

/// The same records read back.
template <typename W, typename R> std::function<Run(int)> reading(W write, R read)
{
    return [write, read](int size) -> Run {
        Filer const filer = readerOf(size, write);
        return [filer, read, size] { return repeat(size, [&](int) { return read(*filer); }); };
    };
}

/// One operation on a filer with that many integers.
template <typename F> std::function<Run(int)> onWhole(F operation)
{
    return [operation](int size) -> Run {
        Filer const filer = makeFiler();
        repeat(size, [&](int) { return filer->writeLong(7); });
        return [filer, operation, size] {
            demand(operation(*filer), "an operation on a filer");
            return size;
        };
    };
}

template <typename F> std::function<Run(int)> called(F call)
{
    return [call](int size) -> Run {
        Filer const filer = readerOf(size, [](OKTByteFiler &one) { return one.writeLong(7); });
        return [filer, call] { return repeat(kCalls, [&](int) { return call(*filer); }); };
    };
}

CByteArray someBytes(int size)
{
    CByteArray bytes;
    bytes.SetSize(size);
    return bytes;
}

Run skipMembersRun(int size)
{
    Filer const filer = makeFiler();
    for (int i = 0; i < size; ++i)
        demand(filer->writeType(VarMembersBegin) && filer->writeLong(static_cast<std::uint32_t>(i)) &&
                   filer->writeDouble(1.0) && filer->writeType(VarMembersEnd),
               "writing sections");
    filer->writeType(VarClassEnd);
    filer->setWriteMode(0);
    return [filer, size] {
        demand(filer->skipMembers(), "passing over sections");
        return size;
    };
}
} // namespace

std::vector<GrowthCase> byteFilerCases()
{
    using B = OKTByteFiler;
    static CString const text(u"Position 12, see drawing", 24);
    static CString const name(u"OKTDbParameter");
    static unsigned char const guid[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    auto const writeBool = [](B &filer) { return filer.writeBool(true); };
    auto const writeShort = [](B &filer) { return filer.writeShort(7); };
    auto const writeLong = [](B &filer) { return filer.writeLong(7); };
    auto const writeDouble = [](B &filer) { return filer.writeDouble(12.5); };
    auto const writeWide = [](B &filer) { return filer.writeWideString(text); };
    auto const writeAnsi = [](B &filer) { return filer.writeAnsiString(text); };
    auto const writeBytes = [bytes = someBytes(16)](B &filer) { return filer.writeByteArray(bytes); };
    auto const writeHead = [](B &filer) { return filer.writeClassBegin(name, 1); };
    auto const writeId = [](B &filer) { return filer.writeIdFrame(guid); };
    auto const writeType = [](B &filer) { return filer.writeType(VarMembersEnd); };
    auto const writeSection = [](B &filer) { return filer.writeType(VarMembersBegin) && filer.writeLong(1); };
    return {
        {kFiler, "appendBytes", writing([](B &filer) { return filer.appendBytes(guid, 16); })},
        {kFiler, "writeType", writing(writeType)},
        {kFiler, "writeBool", writing(writeBool)},
        {kFiler, "writeShort", writing(writeShort)},
        {kFiler, "writeLong", writing(writeLong)},
        {kFiler, "writeDouble", writing(writeDouble)},
        {kFiler, "writeWideString", writing(writeWide)},
        {kFiler, "writeAnsiString", writing(writeAnsi)},
        {kFiler, "writeByteArray", writing(writeBytes)},
        {kFiler, "writeClassBegin", writing(writeHead)},
        {kFiler, "writeIdFrame", writing(writeId)},
        {kFiler, "readType",
         reading(writeType,
                 [](B &filer) {
                     int type = -1;
                     return filer.readType(type);
                 })},
        {kFiler, "checkType", reading(writeType, [](B &filer) { return filer.checkType(VarMembersEnd); })},
        {kFiler, "readBool",
         reading(writeBool,
                 [](B &filer) {
                     unsigned char value = 0;
                     return filer.readBool(value);
                 })},
        {kFiler, "readShort",
         reading(writeShort,
                 [](B &filer) {
                     unsigned short value = 0;
                     return filer.readShort(value);
                 })},
        {kFiler, "readLong",
         reading(writeLong,
                 [](B &filer) {
                     std::uint32_t value = 0;
                     return filer.readLong(value);
                 })},
        {kFiler, "checkLong", reading(writeLong, [](B &filer) { return filer.checkLong(7); })},
        {kFiler, "readDouble",
         reading(writeDouble,
                 [](B &filer) {
                     double value = 0.0;
                     return filer.readDouble(value);
                 })},
        {kFiler, "readWideString",
         reading(writeWide,
                 [](B &filer) {
                     CString value;
                     return filer.readWideString(value);
                 })},
        {kFiler, "readAnsiString",
         reading(writeAnsi,
                 [](B &filer) {
                     CString value;
                     return filer.readAnsiString(value);
                 })},
        {kFiler, "checkAnsiString", reading(writeAnsi, [](B &filer) { return filer.checkAnsiString(text); })},
        {kFiler, "readByteArray",
         reading(writeBytes,
                 [](B &filer) {
                     CByteArray value;
                     return filer.readByteArray(value);
                 })},
        {kFiler, "readClassBegin", reading(writeHead, [](B &filer) { return filer.readClassBegin(name); })},
        {kFiler, "readIdFrame",
         reading(writeId,
                 [](B &filer) {
                     unsigned char read[16];
                     return filer.readIdFrame(read);
                 })},
        {kFiler, "enterMembers", reading(writeSection, [](B &filer) { return filer.enterMembers(1); })},
        {kFiler, "skipMembers", skipMembersRun},
        {kFiler, "findNextObject, over bytes",
         [](int size) -> Run {
             auto const bytes = std::make_shared<CByteArray>(someBytes(size));
             return [bytes, size] {
                 B filer(1024);
                 filer.readInPlace(*bytes);
                 int where = 0;
                 demand(!filer.findNextObject(where), "looking for an object");
                 return size;
             };
         }},
        {kFiler, "getLength, getPosition, setPosition, setWriteMode", called([](B &filer) {
             filer.setWriteMode(0);
             filer.setPosition(filer.getPosition());
             return filer.getLength() > 0;
         })},
        {kFiler, "saveBytes", onWhole([](B &filer) {
             CByteArray bytes;
             return filer.saveBytes(bytes);
         })},
        {kFiler, "loadBytes",
         [](int size) -> Run {
             auto const bytes = std::make_shared<CByteArray>(someBytes(size));
             return [bytes, size] {
                 B filer(1024);
                 filer.setWriteMode(0);
                 demand(filer.loadBytes(*bytes), "loading bytes");
                 return size;
             };
         }},
        {kFiler, "takeBytes, readInPlace", onWhole([](B &filer) {
             CByteArray const bytes = filer.takeBytes();
             filer.readInPlace(bytes);
             return filer.getLength() == bytes.GetSize();
         })},
    };
}
