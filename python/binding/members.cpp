// SPDX-License-Identifier: MIT
#include <python/binding/members.h>

#include <python/binding/failures.h>
#include <python/binding/references.h>
#include <python/binding/values.h>

#include <oktformat/valuewalk.h>

#include <memory>
#include <optional>

namespace okt::python
{

namespace
{

/// A filer that keeps names and values of what an object writes, as values of Python. The lock is held all the time.
class MemberCollector : public OKTMemoryFiler
{
public:
    py::list take() { return m_members; }

    bool beginWriteClass(CString name, CString className, int) override
    {
        // The frames of the object and of its bases have one name; any other frame is a value.
        m_isOpen.push_back(className != u"OKTDbObject");
        m_names.push_back(name == u"Object" ? CString() : name);
        return true;
    }
    bool endWriteClass() override
    {
        if (!m_isOpen.empty())
        {
            m_isOpen.pop_back();
            m_names.pop_back();
        }
        return true;
    }
    bool beginWriteMembers(int) override { return true; }
    bool endWriteMembers() override { return true; }
    bool writeDouble(CString const &name, double const &value) override { return note(name, py::float_(value)); }
    bool writeLong(CString const &name, unsigned long const &value) override { return note(name, py::int_(value)); }
    bool writeLong(CString const &name, long const &value) override { return note(name, py::int_(value)); }
    bool writeString(CString const &name, CString const &value) override { return note(name, textObject(value)); }
    bool writeObjectId(CString const &name, OKTDbObjectId const &value) override
    {
        return note(name, uuidOrNone(value.getGuid()));
    }
    bool writePoint3d(CString const &name, OKTGeXYZ const &value) override
    {
        return note(name, py::make_tuple(value.X(), value.Y(), value.Z()));
    }
    bool writeBool(CString const &name, bool const &value) override { return note(name, py::bool_(value)); }
    bool writeBool(CString const &name, int const &value) override { return note(name, py::int_(value)); }
    bool writeInt(CString const &name, unsigned int const &value) override { return note(name, py::int_(value)); }
    bool writeInt(CString const &name, int const &value) override { return note(name, py::int_(value)); }
    bool writeShort(CString const &name, unsigned short const &value) override { return note(name, py::int_(value)); }
    bool writeShort(CString const &name, short const &value) override { return note(name, py::int_(value)); }
    bool writeVariant(CString const &name, tagVARIANT const &value) override
    {
        return note(name, py::reinterpret_steal<py::object>(newValue(value)));
    }
    bool writeByteArray(CString const &name, CByteArray const &value) override { return note(name, bytesObject(value)); }

private:
    bool note(CString const &name, py::object const &value)
    {
        for (bool const isOpen : m_isOpen)
            if (!isOpen)
                return true; // the id of the object
        CString whole;
        for (CString const &outer : m_names)
            if (!outer.IsEmpty())
                whole += outer + u".";
        whole += name;
        m_members.append(py::make_tuple(textObject(whole), value));
        return true;
    }

    py::list m_members;
    std::vector<bool> m_isOpen;
    std::vector<CString> m_names;
};

py::object storedObject(ByteSource &source, StoredValue const &value)
{
    using Kind = StoredValue::Kind;
    switch (value.kind)
    {
    case Kind::Bool: return py::bool_(value.number != 0);
    case Kind::Short:
    case Kind::Long: return py::int_(value.number);
    case Kind::Double: return py::float_(value.reals.empty() ? 0.0 : value.reals.front());
    case Kind::Text16: return textObject(text16At(source, value.payload, value.payloadSize));
    case Kind::Text8: return textObject(text8At(source, value.payload, value.payloadSize));
    case Kind::Bytes: return py::bytes(source.copy(value.payload, value.payloadSize));
    case Kind::Id: return uuidOrNone(value.id);
    case Kind::Point:
        if (value.reals.size() == 3)
            return py::make_tuple(value.reals[0], value.reals[1], value.reals[2]);
        return py::none();
    case Kind::Frame: return textObject(text8At(source, value.payload, value.payloadSize));
    case Kind::Variant: break;
    }
    switch (value.variantValue)
    {
    case Kind::Double: return py::float_(value.reals.empty() ? 0.0 : value.reals.front());
    case Kind::Text16: return textObject(text16At(source, value.payload, value.payloadSize));
    case Kind::Text8: return textObject(text8At(source, value.payload, value.payloadSize));
    case Kind::Frame: return py::none();
    default:
        return value.variantKind == VT_BOOL ? py::object(py::bool_(value.number != 0)) : py::object(py::int_(value.number));
    }
}

void makeObject(py::object self, std::string const &className)
{
    OKTDbObject *object = nullptr;
    if (!OKTRuntimeClass::getObjectFromClassName(CString::FromUtf8(className), object) || object == nullptr)
        throw py::value_error("no class of that name is known here: " + className);
    own(handleOf(self), object);
}

/// The same with a handle of the class that is for it.
py::object newObject(std::string const &className)
{
    OKTDbObject *object = nullptr;
    if (!OKTRuntimeClass::getObjectFromClassName(CString::FromUtf8(className), object) || object == nullptr)
        throw py::value_error("no class of that name is known here: " + className);
    return ownedHandle(object);
}

void makeParameter(py::object self, py::object type)
{
    int const number = type.cast<int>();
    own(handleOf(self), new OKTDbParameter(number, OKTDbObjectId()));
}

py::object className(py::object self) { return textObject(resolve(handleOf(self))->isA()->ClassName()); }

/// The bytes of an object that is in no pool, for a copy of it.
py::object frameOf(py::object self)
{
    OKTMemoryFiler filer;
    CByteArray bytes;
    bool const isWritten = resolve(handleOf(self))->xmlOut(&filer) == eFilerOk && filer.saveFiler(bytes);
    tellReports();
    return isWritten ? py::object(bytesObject(bytes)) : py::object(py::none());
}

void readFrame(py::object self, py::object data)
{
    CByteArray const bytes = bytesOf(data);
    OKTMemoryFiler filer;
    bool const isRead = filer.loadFiler(bytes) && resolve(handleOf(self))->xmlIn(&filer) == eFilerOk;
    tellReports();
    if (!isRead)
        raise("FormatError", "the bytes are not those of an object of the class");
}

} // namespace

py::list membersOf(OKTDbObject const &object)
{
    MemberCollector collector;
    object.xmlOut(&collector);
    tellReports();
    return collector.take();
}

py::list recordsAt(ByteSource &source, std::int64_t begin)
{
    py::list records;
    bool isFirst = true;
    for (ValueWalk walk(source, begin); walk.next();)
    {
        StoredValue const &value = walk.value();
        bool const isOwnId = isFirst && value.kind == StoredValue::Kind::Id;
        isFirst = false;
        if (!isOwnId)
            records.append(storedObject(source, value));
    }
    return records;
}

void addMembers(py::module_ &module)
{
    module.def("members_of", [](py::object self) {
        Handle &handle = handleOf(self);
        OKTDbObject const *const object = resolve(handle);
        std::optional<Kept> kept;
        if (handle.core != nullptr)
            kept.emplace(*handle.core);
        return membersOf(*object);
    });
    module.def("make_object", &makeObject);
    module.def("new_object", &newObject);
    module.def("make_parameter", &makeParameter);
    module.def("class_name", &className);
    module.def("frame_of", &frameOf);
    module.def("read_frame", &readFrame);
    module.def("records_of", [](py::object self) {
        OKTMemoryFiler filer;
        CByteArray bytes;
        resolve(handleOf(self))->xmlOut(&filer);
        filer.saveFiler(bytes);
        tellReports();
        ByteSource source(bytes);
        return recordsAt(source, 0);
    });
}

} // namespace okt::python
