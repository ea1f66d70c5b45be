// SPDX-License-Identifier: MIT
#include <python/binding/poolfunctions.h>

#include <python/binding/failures.h>
#include <python/binding/members.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/objectscan.h>
#include <oktformat/poolheader.h>
#include <oktinspect/modules.h>
#include <okttext/okttextpool.h>

#include <memory>
#include <sstream>

namespace okt::python
{

namespace
{

std::filesystem::path pathOf(py::handle path) { return utf8Path(utf8Of(path)); }

py::object referenceObject(std::optional<HeaderReference> const &reference)
{
    return reference ? uuidOrNone(reference->id) : py::object(py::none());
}

/// The fields of the header of a file, or of bytes, of which no more is read.
py::dict readHeader(ByteSource &source, std::string const &name)
{
    HeaderPlace const place = findHeader(source);
    if (!place.isWhole)
        throw Failure(name, "byte " + std::to_string(place.faultAt), place.fault);
    PoolHeader const header = readPoolHeader(source, place.begin);
    py::dict fields;
    fields["id"] = header.id ? uuidObject(*header.id) : py::object(py::none());
    fields["name"] = textObject(header.name.value_or(CString()));
    fields["factor"] = header.factor.value_or(1.0);
    fields["construct"] = referenceObject(header.construct);
    fields["index"] = referenceObject(header.index);
    fields["sketch"] = referenceObject(header.sketch);
    py::list pictures;
    if (header.oldPicture && header.pictures.empty())
        if (py::object const id = referenceObject(header.oldPicture); !id.is_none())
            pictures.append(id);
    for (HeaderReference const &picture : header.pictures)
        if (py::object const id = uuidOrNone(picture.id); !id.is_none())
            pictures.append(id);
    fields["pictures"] = pictures;
    return fields;
}

py::dict headerOfFile(py::object path)
{
    std::unique_ptr<ByteSource> const source = openSource(pathOf(path));
    return readHeader(*source, utf8Of(path));
}

py::dict headerOfBytes(py::object data, py::object name)
{
    CByteArray const bytes = bytesOf(data);
    ByteSource source(bytes);
    return readHeader(source, utf8Of(name));
}

/// Header and index, or header and pictures, into an empty pool.
bool readPart(py::object pool, py::object path, bool isIndex)
{
    PoolCore &core = pool.cast<PoolCore &>();
    CString const name = textOf(path);
    bool isRead = false;
    {
        Busy const busy(core);
        sharedWork([&] { isRead = isIndex ? core.pool().readIndex(name) : core.pool().readFilePicture(name); });
    }
    tellReports();
    return isRead;
}

py::list unknownIn(ByteSource &source, std::string const &name)
{
    HeaderPlace const place = findHeader(source);
    if (!place.isWhole)
        throw Failure(name, "byte " + std::to_string(place.faultAt), place.fault);
    py::list found;
    ObjectScan scan(source, place.end);
    while (std::optional<Stretch> const stretch = scan.next())
    {
        if (stretch->kind != Stretch::Kind::Object || g_RuntimeClass.contains(stretch->className()))
            continue;
        found.append(py::make_tuple(textObject(stretch->className()), recordsAt(source, stretch->begin),
                                    stretch->id ? uuidObject(*stretch->id) : py::object(py::none()), stretch->begin,
                                    stretch->size()));
    }
    return found;
}

py::object exportText(py::object data, py::object name)
{
    CByteArray const bytes = bytesOf(data);
    std::string text;
    OKTTextFault fault;
    bool const isDone = sharedWork([&] {
        return OktExportText(
            bytes, [&text](std::string_view piece) { text += piece; }, fault);
    });
    tellReports();
    if (!isDone)
        throw Failure(utf8Of(name), fault.place(), fault.reason);
    return utf8Object(text);
}

py::bytes importText(py::object text)
{
    std::istringstream stream(utf8Of(text));
    CByteArray image;
    OKTTextFault fault;
    bool isDone = false;
    {
        py::gil_scoped_release const released;
        isDone = OktImportText(stream, image, fault);
    }
    if (!isDone)
        throw Failure("text", fault.place(), fault.reason);
    return bytesObject(image);
}

/// The classes that it brought.
py::list loadModule(py::object path)
{
    std::filesystem::path const file = pathOf(path);
    std::vector<std::string> classes = soleWork([&file] {
        modules().load(file);
        Module const *const loaded = modules().loadedFrom(file);
        return loaded == nullptr ? std::vector<std::string>() : loaded->classes;
    });
    tellReports();
    py::list names;
    for (std::string const &name : classes)
        names.append(utf8Object(name));
    return names;
}

} // namespace

void addReading(py::module_ &module)
{
    module.def("header_of_file", &headerOfFile);
    module.def("header_of_bytes", &headerOfBytes);
    module.def("pool_read_part", &readPart);
    module.def("unknown_in_file", [](py::object path) {
        std::unique_ptr<ByteSource> const source = openSource(pathOf(path));
        return unknownIn(*source, utf8Of(path));
    });
    module.def("unknown_in_bytes", [](py::object data, py::object name) {
        CByteArray const bytes = bytesOf(data);
        ByteSource source(bytes);
        return unknownIn(source, utf8Of(name));
    });
    module.def("export_text", &exportText);
    module.def("import_text", &importText);
    module.def("load_module", &loadModule);
}

} // namespace okt::python
