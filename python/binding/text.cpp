// SPDX-License-Identifier: MIT
#include <python/binding/text.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <structmember.h>

namespace okt::python
{

namespace
{

/// The parts of the module uuid that are needed to make one without its constructor, which takes ten times as long.
struct UuidParts
{
    PyTypeObject *type;
    PyObject *unknownSafety;
    Py_ssize_t number; ///< where in one its number is
    Py_ssize_t safety;
};

/// The offset of a slot.
Py_ssize_t slotOf(py::handle type, char const *name)
{
    py::object const slot = type.attr("__dict__")[name];
    if (Py_TYPE(slot.ptr()) != &PyMemberDescr_Type)
        throw py::type_error("uuid.UUID is not as it is known here");
    return reinterpret_cast<PyMemberDescrObject *>(slot.ptr())->d_member->offset;
}

UuidParts const &uuidParts()
{
    static UuidParts const parts = [] {
        py::module_ const module = py::module_::import("uuid");
        py::object type = module.attr("UUID");
        py::object safety = module.attr("SafeUUID").attr("unknown");
        Py_ssize_t const number = slotOf(type, "int");
        Py_ssize_t const isSafe = slotOf(type, "is_safe");
        return UuidParts{reinterpret_cast<PyTypeObject *>(type.release().ptr()), safety.release().ptr(), number, isSafe};
    }();
    return parts;
}

bool isSurrogate(WCHAR unit) { return (static_cast<unsigned int>(unit) & 0xF800u) == 0xD800u; }

} // namespace

std::array<unsigned char, 16> uuidBytes(_GUID const &id)
{
    std::array<unsigned char, 16> bytes{};
    for (unsigned int i = 0; i < 4; ++i)
        bytes[i] = static_cast<unsigned char>(id.Data1 >> (24 - 8 * i));
    for (unsigned int i = 0; i < 2; ++i)
    {
        bytes[4 + i] = static_cast<unsigned char>(id.Data2 >> (8 - 8 * i));
        bytes[6 + i] = static_cast<unsigned char>(id.Data3 >> (8 - 8 * i));
    }
    std::copy_n(id.Data4, 8, bytes.begin() + 8);
    return bytes;
}

_GUID guidOfBytes(unsigned char const *bytes)
{
    _GUID id = {};
    for (unsigned int i = 0; i < 4; ++i)
        id.Data1 = id.Data1 << 8 | bytes[i];
    id.Data2 = static_cast<decltype(id.Data2)>(bytes[4] << 8 | bytes[5]);
    id.Data3 = static_cast<decltype(id.Data3)>(bytes[6] << 8 | bytes[7]);
    std::copy_n(bytes + 8, 8, id.Data4);
    return id;
}

PyObject *newText(OktTextView units)
{
    auto const length = static_cast<Py_ssize_t>(units.size());
    if (std::none_of(units.begin(), units.end(), isSurrogate))
        return PyUnicode_FromKindAndData(PyUnicode_2BYTE_KIND, units.data(), length);
    int order = std::endian::native == std::endian::little ? -1 : 1;
    return PyUnicode_DecodeUTF16(reinterpret_cast<char const *>(units.data()), 2 * length, "surrogatepass", &order);
}

py::object textObject(OktTextView units)
{
    PyObject *const text = newText(units);
    if (text == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(text);
}

py::object textObject(CString const &text) { return textObject(text.View()); }

py::object utf8Object(std::string_view text)
{
    PyObject *const decoded = PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
    if (decoded == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(decoded);
}

CString textOf(py::handle text)
{
    if (!PyUnicode_Check(text.ptr()))
        throw py::type_error(std::string("a text is wanted, not ") + Py_TYPE(text.ptr())->tp_name);
    Py_ssize_t const length = PyUnicode_GET_LENGTH(text.ptr());
    if (length > std::numeric_limits<int>::max() / 2)
    {
        PyErr_SetString(PyExc_OverflowError, "the text is too long");
        throw py::error_already_set();
    }
    CString result;
    if (PyUnicode_KIND(text.ptr()) == PyUnicode_1BYTE_KIND)
    {
        Py_UCS1 const *const from = PyUnicode_1BYTE_DATA(text.ptr());
        result.SetUnits(static_cast<int>(length), [from](WCHAR *to, int count) { std::copy_n(from, count, to); });
        return result;
    }
    if (PyUnicode_KIND(text.ptr()) == PyUnicode_2BYTE_KIND)
    {
        Py_UCS2 const *const from = PyUnicode_2BYTE_DATA(text.ptr());
        result.SetUnits(static_cast<int>(length), [from](WCHAR *to, int count) { std::copy_n(from, count, to); });
        return result;
    }
    std::basic_string<WCHAR> units;
    for (Py_ssize_t i = 0; i < length; ++i)
    {
        Py_UCS4 const character = PyUnicode_READ_CHAR(text.ptr(), i);
        if (character > 0xFFFF)
        {
            units += static_cast<WCHAR>(0xD800 + ((character - 0x10000) >> 10));
            units += static_cast<WCHAR>(0xDC00 + ((character - 0x10000) & 0x3FF));
        }
        else
            units += static_cast<WCHAR>(character);
    }
    return CString(OktTextView(units));
}

std::string utf8Of(py::handle text)
{
    if (!PyUnicode_Check(text.ptr()))
        throw py::type_error(std::string("a text is wanted, not ") + Py_TYPE(text.ptr())->tp_name);
    PyObject *const encoded = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogatepass");
    if (encoded == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::bytes>(encoded);
}

PyObject *newUuid(_GUID const &id)
{
    UuidParts const &parts = uuidParts();
    auto const bytes = uuidBytes(id);
    PyObject *const number = _PyLong_FromByteArray(bytes.data(), bytes.size(), 0, 0);
    if (number == nullptr)
        return nullptr;
    PyObject *const uuid = parts.type->tp_alloc(parts.type, 0);
    if (uuid == nullptr)
    {
        Py_DECREF(number);
        return nullptr;
    }
    auto const slot = [uuid](Py_ssize_t at) { return reinterpret_cast<PyObject **>(reinterpret_cast<char *>(uuid) + at); };
    *slot(parts.number) = number;
    *slot(parts.safety) = Py_NewRef(parts.unknownSafety);
    return uuid;
}

py::object uuidObject(_GUID const &id)
{
    PyObject *const uuid = newUuid(id);
    if (uuid == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(uuid);
}

py::object uuidOrNone(_GUID const &id)
{
    constexpr _GUID kZero = {};
    return std::memcmp(&id, &kZero, sizeof id) == 0 ? py::object(py::none()) : uuidObject(id);
}

bool isUuid(py::handle object) { return PyObject_TypeCheck(object.ptr(), uuidParts().type) != 0; }

_GUID guidOf(py::handle uuid)
{
    if (!isUuid(uuid))
        throw py::type_error(std::string("an id (uuid.UUID) is wanted, not ") + Py_TYPE(uuid.ptr())->tp_name);
    auto const bytes = py::cast<std::string>(uuid.attr("bytes"));
    return guidOfBytes(reinterpret_cast<unsigned char const *>(bytes.data()));
}

CByteArray bytesOf(py::handle data)
{
    Py_buffer view;
    if (PyObject_GetBuffer(data.ptr(), &view, PyBUF_SIMPLE) != 0)
        throw py::error_already_set();
    CByteArray bytes;
    try
    {
        if (view.len > std::numeric_limits<int>::max())
        {
            PyErr_SetString(PyExc_OverflowError, "more than 2^31 - 1 bytes");
            throw py::error_already_set();
        }
        bytes.SetSize(static_cast<int>(view.len));
        std::copy_n(static_cast<unsigned char const *>(view.buf), view.len, bytes.GetData());
    }
    catch (...)
    {
        PyBuffer_Release(&view);
        throw;
    }
    PyBuffer_Release(&view);
    return bytes;
}

py::bytes bytesObject(CByteArray const &bytes)
{
    return py::bytes(reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize()));
}

} // namespace okt::python
