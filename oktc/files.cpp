// SPDX-License-Identifier: MIT
#include <oktc/files.h>
#include <oktc/handles.h>
#include <oktc/texts.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdurablesave.h>
#include <oktdatabase/oktfileimage.h>
#include <oktdatabase/oktruntimeclass.h>
#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/modules.h>
#include <oktinspect/partialfile.h>
#include <oktinspect/verifier.h>
#include <okttext/okttextpool.h>

#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <sstream>
#include <utility>

// Pool files: loaded, read in part, saved, as text; and client modules.

using namespace oktc;

namespace oktc
{

void refuseSave(std::filesystem::path const &path, OktSaveRefusal const &why)
{
    static constexpr char const *kReasons[] = {
        "",
        "the path is none that the system takes",
        "this is a folder, not a file",
        "this is no plain file",
        "the file may not be written",
        "another program uses the file",
        "the file has further names, which would go on naming the old contents",
        "the file belongs to a user or a group that the new one cannot be given to",
        "the new file cannot be given the permissions and attributes of the old one",
        "there is no room on the disk",
        "there is no memory",
        "the pool cannot be written: an object holds what a file cannot",
        "the file would have more than 2147483647 bytes",
        "another program has changed the file meanwhile",
        "the system refuses it",
        "the new file is in place, but whether its name outlives a loss of power is not certain"};
    if (why.status == OktSaveStatus::NoMemory)
        throw std::bad_alloc();
    std::string reason = kReasons[static_cast<int>(why.status)];
    if (why.status == OktSaveStatus::Failed && why.systemError != 0)
        reason += ": " + okt::systemReason(why.systemError);
    refuse(why.status == OktSaveStatus::NotFlushed ? OKTC_NOT_FLUSHED
           : why.status == OktSaveStatus::NoImage  ? OKTC_NOT_STORABLE
           : why.status == OktSaveStatus::TooLarge ? OKTC_TOO_LARGE
                                                   : OKTC_FILE,
           okt::Failure(okt::pathName(path), "", reason).what());
}

} // namespace oktc

namespace
{

constexpr char kBytes[] = "the bytes"; // as messages call what is in memory

double checked(double factor)
{
    if (!std::isfinite(factor) || factor <= 0.0)
        refuse(OKTC_BAD_ARGUMENT, "a factor is a number above 0");
    return factor;
}

std::string notKnown(CString const &className)
{
    return okt::sentence("the class {} is not known here", okt::quoted(className));
}

/// Whether it tells of an object whose class no module has.
bool isOfUnknownClass(okt::Finding const &finding)
{
    using What = okt::Finding::What;
    return finding.what == What::UnknownClass || finding.what == What::ClassNameNearly || finding.what == What::ClassNameNone ||
           finding.what == What::ClassByRecords;
}

/// Why a load has failed: the class that nobody has, or the first error in the file.
[[noreturn]] void refuseLoad(okt::ByteSource &source, std::string const &name)
{
    std::optional<okt::Finding> first;
    std::optional<okt::Finding> unknown;
    okt::VerifyOptions options;
    options.onFinding = [&](okt::Finding const &finding) {
        if (isOfUnknownClass(finding) && (!unknown || finding.offset < unknown->offset))
            unknown = finding;
        else if (finding.severity == okt::Finding::Severity::Error && (!first || finding.offset < first->offset))
            first = finding;
    };
    okt::verify(source, options);
    auto const told = [&](okt::Finding const &finding, std::string const &reason) {
        return std::string(okt::Failure(name, okt::byteAt(finding.offset), reason).what());
    };
    // A load stops at whichever comes first.
    if (unknown && (!first || unknown->offset <= first->offset))
        refuse(OKTC_UNKNOWN_CLASS, told(*unknown, notKnown(CString::FromUtf8(unknown->text("class")))));
    if (first)
        refuse(OKTC_DAMAGED, told(*first, okt::sentenceOf(*first)));
    // The file was in use, or the disk failed for a moment.
    refuse(OKTC_FAILED, okt::Failure(name, "", "it could not be loaded, though nothing is wrong with its bytes").what());
}

/// Loads, with other calls beside it. False: it failed, and not for want of memory.
bool loaded(OKTDbPool &pool, std::function<bool(OKTDbPool &)> const &load)
{
    Beside const beside;
    if (load(pool))
        return true;
    checkReports();
    return false;
}

void openFile(char const *path, double factor, OKTDbPool::ReadFilter filter, OktcPool *pool)
{
    std::filesystem::path const place = pathOf(path);
    auto made = std::make_unique<OKTDbPool>();
    made->setMetricsFactor(checked(factor));
    made->setReadFilter(std::move(filter));
    CString const name = okt::pathText(place);
    if (!loaded(*made, [&](OKTDbPool &it) { return it.readFile(name); }))
    {
        Alone const alone;
        if (!okt::readableLength(place))
            throw okt::Failure(okt::pathName(place), "", "the file is empty");
        refuseLoad(*okt::openSource(place), okt::pathName(place));
    }
    made->setReadFilter({});
    *pool = hold(std::move(made));
}

/// Why a part of a file could not be read. `ids` are the objects that were asked for, of the file's own header.
[[noreturn]] void refusePart(std::filesystem::path const &place, IdArray (*ids)(OKTDbPool const &))
{
    Alone const alone;
    std::string const name = okt::pathName(place);
    if (okt::readableLength(place) < 1024)
        refuse(OKTC_DAMAGED, okt::Failure(name, "", "the file is too short to be read in part").what());
    try
    {
        okt::PartialFile file(place);
        for (OKTDbObjectId const &id : ids(file.pool()))
        {
            okt::LoneObject const object = file.read(id, "named object");
            if (object.missing)
                refuse(OKTC_UNKNOWN_CLASS,
                       okt::Failure(name, okt::byteAt(object.position), notKnown(object.frame.className)).what());
            if (!object.fault.empty())
                refuse(OKTC_DAMAGED, object.fault);
        }
    }
    catch (okt::Failure const &failure)
    {
        refuse(OKTC_DAMAGED, failure.what()); // the file was there a moment ago
    }
    refuse(OKTC_FAILED, okt::Failure(name, "", "it could not be read, though nothing is wrong with these bytes").what());
}

/// Makes a pool of a part of a file: its header, and the objects of these ids, which `read` reads.
template <typename Read> void openPart(char const *path, OktcPool *pool, IdArray (*ids)(OKTDbPool const &), Read read)
{
    std::filesystem::path const place = pathOf(path);
    auto made = std::make_unique<OKTDbPool>();
    OKTDbPool::InfoMap places;
    CString const name = okt::pathText(place);
    if (!loaded(*made, [&](OKTDbPool &it) { return it.readFileHeader(name, places) && read(it, name); }))
        refusePart(place, ids);
    *pool = hold(std::move(made), std::move(places));
}

IdArray indexOf(OKTDbPool const &pool)
{
    IdArray ids;
    ids.append(pool.indexId());
    return ids;
}

std::string placeOf(OKTTextFault const &fault) { return fault.place(); }

} // namespace

OktcStatus OKTC_CALL oktcLoadModule(char const *path)
{
    return call<Alone>([&] { okt::modules().load(pathOf(path)); });
}

OktcStatus OKTC_CALL oktcPoolOpen(char const *path, double factor, OktcPool *pool)
{
    return call<Unlocked>(Results(pool), [&] { openFile(path, factor, {}, pool); });
}

OktcStatus OKTC_CALL oktcPoolOpenOnly(char const *path, double factor, char const *const *classNames, uint64_t count,
                                      OktcPool *pool)
{
    return call<Unlocked>(Results(pool), [&] {
        needed(classNames, "the list of classes");
        OKTDbPool::ReadFilter filter;
        for (std::uint64_t i = 0; i < count; ++i)
        {
            OKTRuntimeClass *const *const entry = g_RuntimeClass.find(textOf(classNames[i]));
            if (entry == nullptr || *entry == nullptr)
                refuse(OKTC_UNKNOWN_CLASS, std::string("there is no class of the name ") + classNames[i]);
            filter.append(*entry);
        }
        if (count == 0)
            filter.append(nullptr); // a list without classes keeps no object
        openFile(path, factor, std::move(filter), pool);
    });
}

OktcStatus OKTC_CALL oktcPoolLoad(void const *bytes, uint64_t length, double factor, OktcPool *pool)
{
    return call<Unlocked>(Results(pool), [&] {
        CByteArray const image = bytesOf(bytes, length);
        auto made = std::make_unique<OKTDbPool>();
        made->setMetricsFactor(checked(factor));
        auto const load = [&](OKTDbPool &it) {
            OktFileImage const scope(it);
            return it.loadFiler(image);
        };
        if (!loaded(*made, load))
        {
            Alone const alone;
            if (image.IsEmpty())
                refuse(OKTC_DAMAGED, "there are no bytes");
            okt::ByteSource source(image);
            refuseLoad(source, kBytes);
        }
        *pool = hold(std::move(made));
    });
}

OktcStatus OKTC_CALL oktcPoolReadHeader(char const *path, OktcPool *pool)
{
    return call<Unlocked>(Results(pool), [&] {
        auto const none = [](OKTDbPool const &) { return IdArray(); };
        openPart(path, pool, none, [](OKTDbPool &, CString const &) { return true; });
    });
}

OktcStatus OKTC_CALL oktcPoolReadIndex(char const *path, OktcPool *pool)
{
    return call<Unlocked>(Results(pool), [&] {
        openPart(path, pool, indexOf, [](OKTDbPool &it, CString const &name) {
            // A file that names no index would give its first object in place of it.
            if (it.indexId().isNull())
                refuseFailed(OKTC_NOT_FOUND, "the file has no index");
            return it.readIndex(name);
        });
    });
}

OktcStatus OKTC_CALL oktcPoolReadPictures(char const *path, OktcPool *pool)
{
    return call<Unlocked>(Results(pool), [&] {
        auto const pictures = [](OKTDbPool const &it) { return it.picturesId(); };
        openPart(path, pool, pictures, [](OKTDbPool &it, CString const &name) { return it.readFilePicture(name); });
    });
}

OktcStatus OKTC_CALL oktcPoolPlace(OktcPool pool, uint8_t const id[16], int64_t *position, int64_t *size)
{
    return call(Results(position, size), [&] {
        UsedPool used(pool, false);
        needed(id, "the id");
        OKTDbPool::_ObjectInfo const *const place = used.held().places.find(idIn(nullptr, id));
        if (place == nullptr || place->nObjectSize < 0)
            refuse(OKTC_NOT_FOUND, "the header does not say where this object is");
        *position = place->nObjectPosition;
        *size = place->nObjectSize;
    });
}

OktcStatus OKTC_CALL oktcPoolSave(OktcPool pool, char const *path)
{
    return call([&] {
        UsedPool used(pool, false);
        std::filesystem::path const place = pathOf(path);
        OktSaveRefusal why;
        if (OktSaveDurably(used.pool(), okt::pathText(place), &why) == OktSaveStatus::Saved)
            return;
        if (why.status == OktSaveStatus::NoImage)
            refuseImage(used.pool());
        refuseSave(place, why);
    });
}

OktcStatus OKTC_CALL oktcPoolImage(OktcPool pool, uint8_t **bytes, uint64_t *length)
{
    return call(Results(bytes, length), [&] {
        UsedPool used(pool, false);
        CByteArray image;
        if (!OktMakeFileImage(used.pool(), image))
            refuseImage(used.pool());
        oktc::give(image.GetData(), static_cast<std::size_t>(image.GetSize()), bytes);
        *length = static_cast<std::uint64_t>(image.GetSize());
    });
}

// --- The text form -----------------------------------------------------------------------------------------------------------

OktcStatus OKTC_CALL oktcTextForm(void const *bytes, uint64_t length, char **text, uint64_t *textLength)
{
    return call(Results(text, textLength), [&] {
        CByteArray const image = bytesOf(bytes, length);
        std::string result;
        OKTTextFault fault;
        if (!OktExportText(
                image, [&](std::string_view piece) { result += piece; }, fault))
            refuseFailed(OKTC_DAMAGED, okt::Failure(kBytes, placeOf(fault), fault.reason).what());
        oktc::give(result, text, textLength);
    });
}

OktcStatus OKTC_CALL oktcImageOfText(char const *text, int64_t length, uint8_t **bytes, uint64_t *imageLength)
{
    return call(Results(bytes, imageLength), [&] {
        std::istringstream stream{std::string(utf8(text, length))};
        CByteArray image;
        OKTTextFault fault;
        if (!OktImportText(stream, image, fault))
            refuseFailed(OKTC_BAD_TEXT, okt::Failure("the text", placeOf(fault), fault.reason).what());
        oktc::give(image.GetData(), static_cast<std::size_t>(image.GetSize()), bytes);
        *imageLength = static_cast<std::uint64_t>(image.GetSize());
    });
}
