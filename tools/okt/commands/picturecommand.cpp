// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/failure.h>
#include <oktformat/imageformat.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/moduletext.h>
#include <oktinspect/picturetext.h>
#include <oktinspect/poolreader.h>
#include <oktinspect/reportcollector.h>
#include <oktinspect/standin.h>
#include <tools/okt/commands/help.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    std::string pool;
    int number = 0; ///< in the pool's list of pictures, counted from 0
    std::string image;
    bool replaces = false;
};

/// The pictures of a pool file, and their positions.
struct PictureFile
{
    std::string name;
    std::unique_ptr<OKTDbPool> pool;
    InfoMap places;    ///< positions from the start of the file
    std::string fault; ///< the first fault of a file that was read whole
};

/// Reads only the header and the pictures. Empty: that is not possible.
std::optional<PictureFile> readPicturesAlone(InputFile const &input)
{
    fs::path const &path = input.path();
    ReportCollector const collector; // reading the whole file will report the fault
    Waiting const waiting(printable(input.name()), readableLength(path));
    PictureFile file;
    file.name = input.name();
    file.pool = std::make_unique<OKTDbPool>();
    OKTDbPool header;
    if (!header.readFileHeader(pathText(path), file.places))
        return std::nullopt;
    IdArray const listed = header.picturesId();
    // For a picture without a position in the header the library would search the whole file.
    auto const hasPlace = [&file](OKTDbObjectId const &id) {
        OKTDbPool::_ObjectInfo const *const place = file.places.find(id);
        return place != nullptr && place->nObjectPosition >= 0 && place->nObjectSize > 0;
    };
    if (listed.getSize() == 0 || !std::all_of(listed.begin(), listed.end(), hasPlace) ||
        !file.pool->readFilePicture(pathText(path)))
        return std::nullopt;
    return file;
}

PictureFile readWhole(InputFile const &input)
{
    PoolFile whole = readPool(input.path(), 1.0, input.name(), terminalProgress());
    PictureFile file;
    file.name = whole.name;
    for (Frame const &frame : whole.frames)
    {
        if (!frame.id)
            continue;
        OKTDbObjectId id;
        id.setGuid(*frame.id);
        if (file.places.find(id) == nullptr)
            file.places[id] = {frame.offset, frame.size};
    }
    file.pool = std::move(whole.pool);
    file.fault = std::move(whole.fault);
    return file;
}

[[noreturn]] void refuse(PictureFile const &file, std::string const &place, std::string const &reason)
{
    throw Failure(file.name, place, reason);
}

/// The bytes of the picture. Empty: the fault of the file is the reason. Throws Failure for every other reason.
std::optional<CByteArray> imageOf(PictureFile const &file, fs::path const &path, int index)
{
    IdArray const pictures = file.pool->picturesId();
    int const count = pictures.getSize();
    if (count == 0 && !file.fault.empty())
        return std::nullopt;
    if (count == 0)
        refuse(file, "", "the pool has no picture");
    if (index >= count)
        refuse(file, "",
               sentence("there is no picture {}: the pool has {}{}", index, count,
                        count == 1 ? " picture" : " pictures, counted from 0"));
    OKTDbObjectId const &id = pictures.at(index);
    std::string const title = sentence("picture {} {}", index, printable(id.getGuidAsString(false)));
    OKTDbObject *object = nullptr;
    file.pool->findObject(id, object);
    OKTDbPicture *const picture = OKTDbPicture::cast(object);
    if (object == nullptr && !file.fault.empty())
        return std::nullopt;
    if (object == nullptr)
        refuse(file, "", title + " is listed, but not in this file");
    if (dynamic_cast<StandIn const *>(object) != nullptr)
        refuse(file, "",
               sentence("{} is of the class {}, which needs a client module: {}", title, quoted(object->isA()->ClassName()),
                        helpFor(modules().find(object->isA()->ClassName()), ModulePlace::Path)));
    if (picture == nullptr)
        refuse(file, "", sentence("{} is an object of another class: {}", title, printable(object->isA()->ClassName())));
    OKTDbPool::_ObjectInfo const *const place = file.places.find(id);
    CByteArray stored;
    if (place != nullptr && OKTMemoryFiler::loadFiler(pathText(path), stored, place->nObjectPosition, place->nObjectSize))
        if (std::string const fault = pictureTextFault(stored); !fault.empty())
            refuse(file, byteAt(place->nObjectPosition), sentence("the text of {} is damaged: {}", title, fault));
    CByteArray image;
    picture->getPictureData(image);
    if (image.IsEmpty())
        refuse(file, "", title + " is empty");
    return image;
}

/// Writes the bytes of a picture to a file in one step, or to standard output. Reads only the header and the pictures if
/// that is enough. False: the picture cannot be read because of a fault of the file, which was reported.
bool picture(fs::path const &path, int index, fs::path const &output, bool replaces)
{
    InputFile const input(path);
    if (readableLength(input.path()) == 0)
        throw Failure(input.name(), "", "the file is empty");
    refuseSameFile(path, output, "the pool file itself");
    std::optional<PictureFile> pictures = readPicturesAlone(input);
    if (!pictures)
        pictures = readWhole(input);
    std::optional<CByteArray> const image = imageOf(*pictures, input.path(), index);
    if (!image)
    {
        printError(pictures->fault);
        return false;
    }
    OutputFile file(output, replaces);
    file.write({reinterpret_cast<char const *>(image->GetData()), static_cast<std::size_t>(image->GetSize())});
    file.close();
    file.commit();
    if (output != kStandardStream)
        print(sentence("{}: {}, {}\n", printable(pathName(output)), formatOf(*image).text(), plural(image->GetSize(), "byte")));
    return true;
}

} // namespace

void addPicture(CommandLine &line)
{
    DeclaredCommand const command(line, "picture", "Writes a picture of a pool file to a file, as it was stored.");
    auto const options = std::make_shared<Options>();
    command.option("FILE", options->pool, "a pool file; - for standard input").required();
    command.option("--index", options->number, "which picture of the pool, counted from 0; 0 without this option")
        .checkedBy(wholeNumberFault);
    command.option("-o,--output", options->image, "the file for the picture; - for standard output").required();
    command.flag("--force", options->replaces, "replace a file that exists");
    command.onParsed([&line, options] {
        line.run = [options] {
            bool const done = picture(utf8Path(options->pool), options->number, utf8Path(options->image), options->replaces);
            return done ? kDone : kFailed;
        };
    });
}

} // namespace okt
