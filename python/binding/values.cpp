// SPDX-License-Identifier: MIT
#include <python/binding/values.h>

#include <python/binding/failures.h>

#include <oktinspect/valuetext.h>

#include <array>
#include <cmath>
#include <cstring>
#include <datetime.h>
#include <limits>

namespace okt::python
{

namespace
{

constexpr double kSecondsOfDay = 86400.0;

/// Day 0 of the stored kind.
py::object dayZero()
{
    PyObject *const date = PyDateTime_FromDateAndTime(1899, 12, 30, 0, 0, 0, 0);
    if (date == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(date);
}

PyObject *newDate(double days)
{
    py::object const delta = py::module_::import("datetime").attr("timedelta")(py::arg("days") = days);
    return (dayZero() + delta).release().ptr();
}

tagVARIANT variantOf(VARTYPE kind)
{
    tagVARIANT variant;
    std::memset(&variant, 0, sizeof variant);
    variant.vt = kind;
    return variant;
}

double daysOf(py::handle date)
{
    py::object const delta = py::reinterpret_borrow<py::object>(date) - dayZero();
    return py::cast<double>(delta.attr("total_seconds")()) / kSecondsOfDay;
}

std::int32_t number32(py::handle value)
{
    int overflow = 0;
    long long const number = PyLong_AsLongLongAndOverflow(value.ptr(), &overflow);
    if (number == -1 && PyErr_Occurred() != nullptr)
        throw py::error_already_set();
    if (overflow != 0 || number > std::numeric_limits<std::int32_t>::max() || number < std::numeric_limits<std::int32_t>::min())
    {
        PyErr_SetString(PyExc_OverflowError, "a whole number of a parameter has 32 bits");
        throw py::error_already_set();
    }
    return static_cast<std::int32_t>(number);
}

int intOf(py::handle value)
{
    py::object const index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!index)
        throw py::error_already_set();
    return number32(index);
}

py::list groupValues(OKTDbGroupParameter &group)
{
    tagVARIANT array = variantOf(VT_EMPTY);
    group.ValuesVariant(array);
    py::list values;
    if ((array.vt & VT_ARRAY) == 0)
        return values;
    COleSafeArray held;
    held.Attach(array);
    LONG upper = -1;
    held.GetUBound(1, &upper);
    for (LONG i = 0; i <= upper; ++i)
    {
        double value = 0;
        held.GetElement(&i, &value);
        values.append(value);
    }
    return values;
}

void setGroupValues(OKTDbGroupParameter &group, std::vector<double> const &numbers)
{
    IdArray elements;
    group.getAllElements(elements);
    if (numbers.size() != static_cast<std::size_t>(elements.getSize()))
        throw py::value_error("the group has " + std::to_string(elements.getSize()) + " elements, and " +
                              std::to_string(numbers.size()) + " values were given");
    if (numbers.empty())
        return;
    COleSafeArray array;
    array.CreateOneDim(VT_R8, static_cast<DWORD>(numbers.size()), numbers.data());
    tagVARIANT given = array.Detach();
    group.setValue(given);
    VariantClear(&given);
}

std::vector<double> numbersOf(py::handle value)
{
    auto const sequence = py::reinterpret_borrow<py::sequence>(value);
    std::vector<double> numbers;
    for (std::size_t i = 0; i < sequence.size(); ++i)
    {
        py::object const item = sequence[i];
        double const number = PyFloat_AsDouble(item.ptr());
        if (number == -1.0 && PyErr_Occurred() != nullptr)
            throw py::error_already_set();
        numbers.push_back(number);
    }
    return numbers;
}

PyObject *valueOf(PyObject *, PyObject *self)
{
    return guarded<PyObject *>(nullptr, [self] {
        auto &parameter = resolvedAs<OKTDbParameter>(self);
        if (OKTDbGroupParameter *const group = OKTDbGroupParameter::cast(&parameter))
        {
            PyObject *const values = groupValues(*group).release().ptr();
            tellReports();
            return values;
        }
        return newValue(parameter.Value());
    });
}

PyObject *nameOf(PyObject *, PyObject *self)
{
    return guarded<PyObject *>(nullptr, [self] {
        std::optional<CString> const name = displayName(*resolve(handleOf(self)));
        return name ? newText(name->View()) : Py_NewRef(Py_None);
    });
}

PyObject *typeOf(PyObject *, PyObject *self)
{
    return guarded<PyObject *>(nullptr, [self] { return PyLong_FromLong(resolvedAs<OKTDbParameter>(self).Type()); });
}

std::array<PyMethodDef, 4> g_functions = {{{"value_of", valueOf, METH_O, "The value of a parameter."},
                                           {"name_of", nameOf, METH_O, "The display name of an object, or None."},
                                           {"type_of", typeOf, METH_O, "The type number of a parameter."},
                                           {nullptr, nullptr, 0, nullptr}}};

void setValueOf(py::object self, py::object value)
{
    GivenValue const given = givenValue(value);
    setValue(resolvedAs<OKTDbParameter>(self), given);
    tellReports();
}

/// The settable text of that name.
py::object textMember(py::object self, std::string const &which)
{
    OKTDbParameter const &parameter = resolvedAs<OKTDbParameter>(self);
    if (which == "expression")
        return textObject(parameter.Expression());
    if (which == "description")
        return textObject(parameter.Description());
    if (which == "type_name")
        return textObject(parameter.getTypeName());
    if (which == "list_code")
        return textObject(parameter.getListIndex());
    VARTYPE const kind = parameter.Value().vt;
    return utf8Object(kind == VT_DATE ? "VT_DATE" : kindName(kind));
}

void setText(py::object self, std::string const &which, py::object text)
{
    OKTDbParameter &parameter = resolvedAs<OKTDbParameter>(self);
    if (which == "expression")
        parameter.setExpression(textOf(text));
    else
        parameter.setDescription(textOf(text));
    tellReports();
}

void setName(py::object self, py::object name)
{
    OKTDbObject *const object = resolve(handleOf(self));
    if (OKTDbParameter *const parameter = OKTDbParameter::cast(object))
        parameter->setUserName(textOf(name), false);
    else if (OKTDbCategory *const category = OKTDbCategory::cast(object))
        category->setCategoryName(textOf(name));
    else
        throw py::type_error("the object has no name");
    tellReports();
}

double unitFactor(py::object self)
{
    Handle const &handle = handleOf(self);
    OKTDbParameter const &parameter = resolvedAs<OKTDbParameter>(self);
    if (handle.core != nullptr)
        return handle.core->pool().metricsFactor();
    return OKTDbPool::metricsFactorOf(parameter.OwnerId().getPool());
}

} // namespace

PyObject *newValue(tagVARIANT const &value)
{
    switch (value.vt)
    {
    case VT_R4: // a file holds a double in this kind too, and reading keeps it as one
    case VT_R8: return PyFloat_FromDouble(value.dblVal);
    case VT_I2: return PyLong_FromLong(value.iVal);
    case VT_I4: return PyLong_FromLong(value.lVal);
    case VT_BOOL: return PyBool_FromLong(value.lVal != 0);
    case VT_BSTR: return newText({value.bstrVal, value.bstrVal == nullptr ? 0 : SysStringLen(value.bstrVal)});
    case VT_DATE: return newDate(value.dblVal);
    default: return Py_NewRef(Py_None);
    }
}

std::optional<CString> displayName(OKTDbObject const &object)
{
    if (OKTDbParameter const *const parameter = OKTDbParameter::cast(&object))
        return parameter->UserName();
    if (OKTDbCategory const *const category = OKTDbCategory::cast(&object))
        return category->CategoryName();
    return std::nullopt;
}

GivenValue givenValue(py::handle value)
{
    if (PyFloat_Check(value.ptr()) != 0)
        return PyFloat_AS_DOUBLE(value.ptr());
    if (PyBool_Check(value.ptr()) != 0)
        return value.ptr() == Py_True;
    if (PyLong_Check(value.ptr()) != 0)
        return number32(value);
    if (PyUnicode_Check(value.ptr()) != 0)
        return textOf(value);
    if (value.is_none())
        return std::monostate();
    if (PyDateTime_Check(value.ptr()) != 0)
        return Date{daysOf(value)};
    if (py::str(py::type::handle_of(value).attr("__name__")).cast<std::string>() == "bool_")
        return PyObject_IsTrue(value.ptr()) == 1;
    if (PyIndex_Check(value.ptr()) != 0)
        return static_cast<std::int32_t>(intOf(value));
    if (PyBytes_Check(value.ptr()) == 0 && PyByteArray_Check(value.ptr()) == 0 && PySequence_Check(value.ptr()) != 0)
        return numbersOf(value);
    if (py::hasattr(value, "__float__"))
        return py::float_(py::reinterpret_borrow<py::object>(value)).cast<double>();
    throw py::type_error(std::string("a parameter takes float, int, bool, str, datetime or None, not ") +
                         Py_TYPE(value.ptr())->tp_name);
}

void setValue(OKTDbParameter &parameter, GivenValue const &value)
{
    int const place = parameter.ListIndex();
    auto const *const list = std::get_if<std::vector<double>>(&value);
    OKTDbGroupParameter *const group = OKTDbGroupParameter::cast(&parameter);
    if (group != nullptr && list == nullptr)
        throw py::type_error("the value of a group is a list of numbers");
    if (group == nullptr && list != nullptr)
        throw py::type_error("a parameter takes float, int, bool, str, datetime or None, not a list");
    if (group != nullptr)
        setGroupValues(*group, *list);
    else if (double const *const real = std::get_if<double>(&value))
        parameter.setValue(*real, place);
    else if (std::int32_t const *const whole = std::get_if<std::int32_t>(&value))
        parameter.setValue(static_cast<int>(*whole), place);
    else if (bool const *const flag = std::get_if<bool>(&value))
        parameter.setValue(*flag, place);
    else if (CString const *const text = std::get_if<CString>(&value))
        parameter.setValue(*text, place);
    else if (Date const *const date = std::get_if<Date>(&value))
    {
        tagVARIANT variant = variantOf(VT_DATE);
        variant.dblVal = date->days;
        parameter.setValue(variant);
    }
    else
        parameter.setValue(variantOf(VT_EMPTY));
}

void addValues(py::module_ &module)
{
    PyDateTime_IMPORT;
    if (PyDateTimeAPI == nullptr || PyModule_AddFunctions(module.ptr(), g_functions.data()) != 0)
        throw py::error_already_set();
    module.def("set_value", &setValueOf);
    module.def("text_member", &textMember);
    module.def("set_text", &setText);
    module.def("set_name", &setName);
    module.def("set_type_number", [](py::object self, py::object type) {
        int const number = intOf(type);
        resolvedAs<OKTDbParameter>(self).setType(number);
    });
    module.def("list_index", [](py::object self) { return resolvedAs<OKTDbParameter>(self).ListIndex(); });
    module.def("set_list_index", [](py::object self, py::object index) {
        int const number = intOf(index);
        resolvedAs<OKTDbParameter>(self).setListIndex(number);
    });
    module.def("is_length", [](py::object self) { return resolvedAs<OKTDbParameter>(self).isInDrawingUnits(); });
    module.def("unit_factor_of", &unitFactor);
    module.def("type_name_of_number", [](int type) { return textObject(OKTDbParameter::getNameFromType(type)); });
}

} // namespace okt::python
