// SPDX-License-Identifier: MIT
#include <python/binding/poolfunctions.h>

#include <python/binding/failures.h>
#include <python/binding/limits.h>

#include <oktformat/failure.h>
#include <oktformat/objectscan.h>

#include <cerrno>
#include <optional>
#include <set>
#include <vector>

namespace okt::python
{

namespace
{

PoolCore &coreOf(py::handle pool) { return pool.cast<PoolCore &>(); }

OKTDbPool::ReadFilter filterOf(std::vector<std::string> const &classNames)
{
    OKTDbPool::ReadFilter filter;
    for (std::string const &name : classNames)
    {
        OKTRuntimeClass *const *const descriptor = g_RuntimeClass.find(CString::FromUtf8(name));
        if (descriptor == nullptr)
            throw py::value_error("no class of that name is known here: " + name);
        filter.append(*descriptor);
    }
    return filter;
}

std::string byteText(std::int64_t at) { return "byte " + std::to_string(at) + ": "; }

/// Why the library does not read the bytes.
std::string whyNotRead(ByteSource &source)
{
    HeaderPlace const header = findHeader(source);
    if (!header.isWhole)
        return byteText(header.faultAt) + header.fault;
    std::set<std::string> ids;
    ObjectScan scan(source, header.end);
    while (std::optional<Stretch> const stretch = scan.next())
    {
        if (stretch->kind != Stretch::Kind::Object)
        {
            if (stretch->kind != Stretch::Kind::Gap)
                return byteText(stretch->faultAt) + stretch->fault();
            continue;
        }
        CString const name = stretch->className();
        if (!g_RuntimeClass.contains(name))
            return byteText(stretch->begin) + "no module has brought the class " + name.ToUtf8() +
                   "; okt.load_module loads one, okt.unknown_objects reads such objects by their records";
        if (stretch->id && !ids.insert(std::string(reinterpret_cast<char const *>(&*stretch->id), sizeof(_GUID))).second)
            return byteText(stretch->begin) + "an object of the same id stands before this one";
    }
    return "the library cannot read an object in it";
}

/// Empties the pool after a failed read, and raises the reason.
[[noreturn]] void raiseUnread(PoolCore &core, CByteArray const &bytes, py::handle name)
{
    {
        Busy const busy(core);
        sharedWork([&core] { return core.pool().eraseAllObjects(); });
    }
    tellReports();
    ByteSource source(bytes);
    raise("FormatError", utf8Of(py::str(name)) + ": " + whyNotRead(source));
}

/// All bytes of a file, or the number of the system's failure.
int readWhole(CString const &path, CByteArray &bytes)
{
    CFile file;
    CFileException failure;
    if (!file.Open(path, CFile::modeRead | CFile::shareDenyWrite, &failure))
        return failure.m_lOsError == 0 ? EIO : failure.m_lOsError;
    try
    {
        ULONGLONG const length = file.GetLength();
        if (length > 0x7FFFFFFF)
            return EFBIG;
        bytes.SetSize(static_cast<int>(length));
        bytes.SetSize(static_cast<int>(file.Read(bytes.GetData(), static_cast<UINT>(length))));
        return 0;
    }
    catch (CFileException const &error)
    {
        return error.m_lOsError == 0 ? EIO : error.m_lOsError;
    }
}

void readFile(py::object pool, py::object path, std::vector<std::string> const &only, bool isFiltered)
{
    PoolCore &core = coreOf(pool);
    CString const name = textOf(path);
    OKTDbPool::ReadFilter filter = filterOf(only);
    if (isFiltered && filter.getSize() == 0)
        filter.append(nullptr); // which keeps nothing
    bool isRead = false;
    int failure = 0;
    CByteArray bytes;
    {
        Busy const busy(core);
        core.pool().setReadFilter(filter);
        sharedWork([&] {
            isRead = core.pool().readFile(name);
            if (!isRead)
                failure = readWhole(name, bytes);
        });
        core.pool().setReadFilter(OKTDbPool::ReadFilter());
    }
    if (failure != 0)
        raiseSystem(failure, path);
    if (!isRead)
        raiseUnread(core, bytes, path);
    tellReports();
}

void readImage(py::object pool, py::object data, py::object name, std::vector<std::string> const &only, bool isFiltered)
{
    PoolCore &core = coreOf(pool);
    CByteArray const bytes = bytesOf(data);
    OKTDbPool::ReadFilter filter = filterOf(only);
    if (isFiltered && filter.getSize() == 0)
        filter.append(nullptr);
    bool isRead = false;
    {
        Busy const busy(core);
        core.pool().setReadFilter(filter);
        sharedWork([&] { isRead = OktReadFileImage(core.pool(), bytes); });
        core.pool().setReadFilter(OKTDbPool::ReadFilter());
    }
    if (!isRead)
        raiseUnread(core, bytes, name);
    tellReports();
}

CByteArray imageOf(PoolCore &core)
{
    CByteArray image;
    bool isMade = false;
    {
        Busy const busy(core);
        sharedWork([&] { isMade = !unholdable(core.pool()) && OktMakeFileImage(core.pool(), image); });
    }
    if (!isMade)
        raiseUnwritable(core);
    tellReports();
    return image;
}

/// The number of OktSaveStatus, and that of the system.
py::tuple save(py::object pool, py::object path)
{
    PoolCore &core = coreOf(pool);
    CString const name = textOf(path);
    OktSaveRefusal why;
    {
        Busy const busy(core);
        sharedWork([&] {
            if (unholdable(core.pool()))
                why.status = OktSaveStatus::NoImage;
            else
                OktSaveDurably(core.pool(), name, &why);
        });
    }
    if (why.status == OktSaveStatus::NoImage)
        raiseUnwritable(core);
    tellReports();
    return py::make_tuple(static_cast<int>(why.status), why.systemError);
}

py::tuple saveBytes(py::object data, py::object path)
{
    CByteArray const bytes = bytesOf(data);
    CString const name = textOf(path);
    OktSaveRefusal why;
    {
        py::gil_scoped_release const released;
        OktSaveDurably(bytes, name, &why);
    }
    return py::make_tuple(static_cast<int>(why.status), why.systemError);
}

/// The number of the system's failure to open the file for writing; 0: it can be.
int whyNotWritten(CString const &path)
{
    CFile file;
    CFileException failure;
    if (file.Open(path, CFile::modeWrite | CFile::modeCreate | CFile::modeNoTruncate, &failure))
        return 0;
    return failure.m_lOsError == 0 ? EIO : failure.m_lOsError;
}

void writeFile(py::object pool, py::object path)
{
    PoolCore &core = coreOf(pool);
    CString const name = textOf(path);
    bool isWritten = false;
    {
        Busy const busy(core);
        sharedWork([&] { isWritten = !unholdable(core.pool()) && core.pool().writeFile(name); });
    }
    if (!isWritten)
    {
        imageOf(core); // which tells what cannot be written
        raiseSystem(whyNotWritten(name), path);
    }
    tellReports();
}

bool writeXml(py::object pool, py::object path)
{
    PoolCore &core = coreOf(pool);
    CString const name = textOf(path);
    if (int const failure = whyNotWritten(name); failure != 0)
        raiseSystem(failure, path);
    bool isWritten = false;
    {
        Busy const busy(core);
        sharedWork([&] { isWritten = core.pool().writeXMLFile(name); });
    }
    tellReports();
    return isWritten;
}

bool readXml(py::object pool, py::object path)
{
    PoolCore &core = coreOf(pool);
    CString const name = textOf(path);
    CFileException failure;
    CFile file;
    if (!file.Open(name, CFile::modeRead | CFile::shareDenyWrite, &failure))
        raiseSystem(failure.m_lOsError == 0 ? EIO : failure.m_lOsError, path);
    file.Close();
    bool isRead = false;
    {
        Busy const busy(core);
        sharedWork([&] { isRead = core.pool().readXMLFile(name); });
    }
    tellReports();
    return isRead;
}

} // namespace

void addPoolFiles(py::module_ &module)
{
    module.def("pool_read_file", &readFile);
    module.def("pool_read_image", &readImage);
    module.def("pool_image", [](py::object pool) { return bytesObject(imageOf(coreOf(pool))); });
    module.def("pool_save", &save);
    module.def("save_bytes", &saveBytes);
    module.def("pool_write_file", &writeFile);
    module.def("pool_write_xml", &writeXml);
    module.def("pool_read_xml", &readXml);
}

} // namespace okt::python
