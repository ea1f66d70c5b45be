// SPDX-License-Identifier: MIT
#include <python/binding/poolfunctions.h>

#include <python/binding/failures.h>
#include <python/binding/handle.h>
#include <python/binding/values.h>

#include <oktinspect/valuetext.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace okt::python
{

namespace
{

PoolCore &coreOf(py::handle pool) { return pool.cast<PoolCore &>(); }

std::vector<OKTDbParameter *> parametersOf(PoolCore &core)
{
    std::vector<OKTDbParameter *> parameters;
    std::vector<OKTDbObject *> const &objects = core.objects();
    parameters.reserve(objects.size());
    for (OKTDbObject *const object : objects)
        if (OKTDbParameter *const parameter = OKTDbParameter::cast(object))
            parameters.push_back(parameter);
    return parameters;
}

bool isNumber(tagVARIANT const &value)
{
    return value.vt == VT_R8 || value.vt == VT_R4 || value.vt == VT_I4 || value.vt == VT_I2;
}

double numberOf(tagVARIANT const &value)
{
    switch (value.vt)
    {
    case VT_R4:
    case VT_R8: return value.dblVal;
    case VT_I2: return value.iVal;
    case VT_I4: return value.lVal;
    default: return std::numeric_limits<double>::quiet_NaN();
    }
}

enum class Column
{
    Id,
    Name,
    Type,
    ListIndex,
    Kind,
    Value,
    Number,
    IsLength,
    Expression,
    Description,
    Category,
    Owner
};

/// Room for a column that the caller has made: bytes, or references to objects of which each is one.
struct Room
{
    Room(Column of, py::handle buffer, std::size_t count, std::size_t size) : column(of)
    {
        if (PyObject_GetBuffer(buffer.ptr(), &view, PyBUF_WRITABLE | PyBUF_C_CONTIGUOUS) != 0)
            throw py::error_already_set();
        if (static_cast<std::size_t>(view.len) != count * size)
        {
            PyBuffer_Release(&view);
            throw py::value_error("the column has another length");
        }
    }
    Room(Room const &) = delete;
    Room &operator=(Room const &) = delete;
    ~Room() { PyBuffer_Release(&view); }

    template <typename T> T &at(std::size_t i) const { return static_cast<T *>(view.buf)[i]; }

    Column column;
    Py_buffer view{};
};

/// Objects for texts, of which many are equal: those of a load share their memory.
class Texts
{
public:
    Texts() = default;
    Texts(Texts const &) = delete;
    Texts &operator=(Texts const &) = delete;
    ~Texts()
    {
        for (Entry const &entry : m_known)
            Py_XDECREF(entry.text);
    }

    PyObject *of(CString const &text)
    {
        auto const address = reinterpret_cast<std::uintptr_t>(text.Memory());
        Entry &entry = m_known[(address >> 4 ^ address >> 14) % m_known.size()];
        if (entry.text == nullptr || entry.memory != text.Memory())
        {
            PyObject *const made = newText(text.View());
            if (made == nullptr)
                return nullptr;
            Py_XDECREF(entry.text);
            entry = {text.Memory(), made};
        }
        return Py_NewRef(entry.text);
    }

private:
    struct Entry
    {
        void const *memory = nullptr;
        PyObject *text = nullptr;
    };
    std::vector<Entry> m_known = std::vector<Entry>(4096);
};

/// Names of kinds, of which there are few.
class Kinds
{
public:
    PyObject *of(VARTYPE kind)
    {
        if (kind != m_last || !m_name)
        {
            m_name = utf8Object(kindName(kind));
            m_last = kind;
        }
        return Py_NewRef(m_name.ptr());
    }

private:
    VARTYPE m_last = VT_EMPTY;
    py::object m_name;
};

PyObject *newId(_GUID const &id)
{
    constexpr _GUID kZero = {};
    return std::memcmp(&id, &kZero, sizeof id) == 0 ? Py_NewRef(Py_None) : newUuid(id);
}

struct ColumnSet
{
    Texts names;
    Texts expressions;
    Texts descriptions;
    Kinds kinds;

    PyObject *objectOf(Column column, OKTDbParameter const &one, tagVARIANT const &value)
    {
        switch (column)
        {
        case Column::Id: return newUuid(one.objectId().getGuid());
        case Column::Name: return names.of(one.UserName());
        case Column::Expression: return expressions.of(one.Expression());
        case Column::Description: return descriptions.of(one.Description());
        case Column::Kind: return kinds.of(value.vt);
        case Column::Category: return newId(one.Category().getGuid());
        case Column::Owner: return newId(one.OwnerId().getGuid());
        default: return newValue(value);
        }
    }

    void put(Room const &room, std::size_t i, OKTDbParameter const &one, tagVARIANT const &value)
    {
        switch (room.column)
        {
        case Column::Number: room.at<double>(i) = numberOf(value); return;
        case Column::Type: room.at<std::int32_t>(i) = one.Type(); return;
        case Column::ListIndex: room.at<std::int32_t>(i) = one.ListIndex(); return;
        case Column::IsLength: room.at<bool>(i) = one.isInDrawingUnits(); return;
        case Column::Id: room.at<std::array<unsigned char, 16>>(i) = uuidBytes(one.objectId().getGuid()); return;
        default: break;
        }
        PyObject *const object = objectOf(room.column, one, value);
        if (object == nullptr)
            throw py::error_already_set();
        PyObject *&place = room.at<PyObject *>(i);
        Py_XDECREF(std::exchange(place, object)); // what stood there is None
    }
};

std::size_t sizeOf(Column column)
{
    switch (column)
    {
    case Column::Number: return sizeof(double);
    case Column::Type:
    case Column::ListIndex: return sizeof(std::int32_t);
    case Column::IsLength: return sizeof(bool);
    case Column::Id: return sizeof(_GUID);
    default: return sizeof(PyObject *);
    }
}

Column columnOf(std::string const &name)
{
    constexpr std::array<char const *, 12> kNames = {"id",     "name",      "type",       "list_index",  "kind",     "value",
                                                     "number", "is_length", "expression", "description", "category", "owner"};
    for (std::size_t i = 0; i < kNames.size(); ++i)
        if (name == kNames[i])
            return static_cast<Column>(i);
    throw py::value_error("there is no column '" + name + "'");
}

/// One pass over the parameters: each is fetched from memory once.
void fillColumns(py::object pool, std::vector<std::string> const &names, py::list buffers)
{
    PoolCore &core = coreOf(pool);
    core.use();
    auto const parameters = parametersOf(core);
    std::vector<std::unique_ptr<Room>> rooms;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        Column const column = columnOf(names[i]);
        rooms.push_back(std::make_unique<Room>(column, buffers[i], parameters.size(), sizeOf(column)));
    }
    ColumnSet set;
    Kept const kept(core);
    for (std::size_t i = 0; i < parameters.size(); ++i)
    {
        tagVARIANT const value = parameters[i]->Value();
        for (auto const &room : rooms)
            set.put(*room, i, *parameters[i], value);
    }
}

/// A column as a list, where there are no arrays.
py::list objectColumn(py::object pool, std::string const &name)
{
    PoolCore &core = coreOf(pool);
    core.use();
    Column const column = columnOf(name);
    ColumnSet set;
    auto const parameters = parametersOf(core);
    Kept const kept(core);
    py::list list;
    for (OKTDbParameter const *const one : parameters)
    {
        tagVARIANT const value = one->Value();
        switch (column)
        {
        case Column::Number: list.append(numberOf(value)); break;
        case Column::Type: list.append(one->Type()); break;
        case Column::ListIndex: list.append(one->ListIndex()); break;
        case Column::IsLength: list.append(one->isInDrawingUnits()); break;
        default: list.append(py::reinterpret_steal<py::object>(set.objectOf(column, *one, value)));
        }
    }
    return list;
}

OKTDbParameter &parameterOf(PoolCore &core, _GUID const &guid, py::handle uuid)
{
    OKTDbObjectId id;
    id.setGuid(guid);
    OKTDbObject *object = nullptr;
    core.pool().findObject(id, object);
    OKTDbParameter *const parameter = OKTDbParameter::cast(object);
    if (parameter == nullptr)
    {
        PyErr_SetObject(PyExc_KeyError, uuid.ptr());
        throw py::error_already_set();
    }
    return *parameter;
}

/// Whether the parameter has that value. NaN is the same as NaN.
bool hasValue(OKTDbParameter const &parameter, py::handle value)
{
    auto const own = py::reinterpret_steal<py::object>(newValue(parameter.Value()));
    if (PyFloat_Check(own.ptr()) != 0 && PyFloat_Check(value.ptr()) != 0)
    {
        double const left = PyFloat_AS_DOUBLE(own.ptr());
        double const right = PyFloat_AS_DOUBLE(value.ptr());
        return left == right || (std::isnan(left) && std::isnan(right));
    }
    return py::type::handle_of(own).is(py::type::handle_of(value)) && own.equal(value);
}

/// Sets a number and keeps the kind where that can hold it. True: it was another one.
bool setNumber(OKTDbParameter &parameter, py::handle value)
{
    double const number = value.cast<double>();
    tagVARIANT const own = parameter.Value();
    if (std::isnan(number) || (isNumber(own) && numberOf(own) == number))
        return false;
    bool const isWhole = (own.vt == VT_I4 || own.vt == VT_I2) && number == std::floor(number) && std::abs(number) < 0x7FFFFFFF;
    if (isWhole)
        parameter.setValue(static_cast<int>(number), parameter.ListIndex());
    else
        parameter.setValue(number, parameter.ListIndex());
    return true;
}

bool setNewText(CString const &own, py::handle value, OKTDbParameter &parameter, void (*set)(OKTDbParameter &, CString const &))
{
    CString const text = textOf(value);
    if (own == text)
        return false;
    set(parameter, text);
    return true;
}

/// Row by row what differs from what the parameters have. The number of parameters that were changed.
int update(py::object pool, py::list ids, py::dict columns)
{
    PoolCore &core = coreOf(pool);
    core.use();
    std::vector<_GUID> guids;
    for (py::handle const id : ids)
        guids.push_back(guidOf(id));
    core.use();
    std::vector<OKTDbParameter *> parameters;
    for (std::size_t i = 0; i < guids.size(); ++i)
        parameters.push_back(&parameterOf(core, guids[i], ids[i]));
    auto const column = [&columns](char const *name) {
        return columns.contains(name) ? std::optional<py::list>(columns[name].cast<py::list>()) : std::nullopt;
    };
    auto const values = column("value");
    auto const numbers = column("number");
    auto const names = column("name");
    auto const types = column("type");
    auto const listIndexes = column("list_index");
    auto const expressions = column("expression");
    auto const descriptions = column("description");
    int changed = 0;
    Kept const kept(core); // what is written may be of a class with code of its own
    for (std::size_t i = 0; i < parameters.size(); ++i)
    {
        OKTDbParameter &one = *parameters[i];
        bool isChanged = false;
        if (values && !hasValue(one, (*values)[i]))
        {
            setValue(one, givenValue((*values)[i]));
            isChanged = true;
        }
        else if (numbers)
            isChanged = setNumber(one, (*numbers)[i]);
        if (names)
            isChanged |= setNewText(one.UserName(), (*names)[i], one,
                                    [](OKTDbParameter &to, CString const &text) { to.setUserName(text, false); });
        if (expressions)
            isChanged |= setNewText(one.Expression(), (*expressions)[i], one,
                                    [](OKTDbParameter &to, CString const &text) { to.setExpression(text); });
        if (descriptions)
            isChanged |= setNewText(one.Description(), (*descriptions)[i], one,
                                    [](OKTDbParameter &to, CString const &text) { to.setDescription(text); });
        if (int const type = types ? (*types)[i].cast<int>() : one.Type(); type != one.Type())
        {
            one.setType(type);
            isChanged = true;
        }
        if (int const place = listIndexes ? (*listIndexes)[i].cast<int>() : one.ListIndex(); place != one.ListIndex())
        {
            one.setListIndex(place);
            isChanged = true;
        }
        changed += isChanged ? 1 : 0;
    }
    tellReports();
    return changed;
}

} // namespace

void addColumns(py::module_ &module)
{
    module.def("column_length", [](py::object pool) {
        PoolCore &core = coreOf(pool);
        core.use();
        return parametersOf(core).size();
    });
    module.def("fill_columns", &fillColumns);
    module.def("object_column", &objectColumn);
    module.def("uuids", [](py::object data) {
        CByteArray const bytes = bytesOf(data);
        py::list ids;
        for (int at = 0; at + 16 <= bytes.GetSize(); at += 16)
            ids.append(uuidObject(guidOfBytes(bytes.GetData() + at)));
        return ids;
    });
    module.def("update_rows", &update);
}

} // namespace okt::python
