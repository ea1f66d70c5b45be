// SPDX-License-Identifier: MIT
#include <python/binding/failures.h>

#include <python/binding/text.h>

#include <oktdatabase/oktdatabase.h>
#include <oktformat/failure.h>
#include <oktformat/progress.h>
#include <oktplatform/oktwarning.h>

#include <chrono>
#include <vector>

namespace okt::python
{

namespace
{

std::vector<CString> &reports()
{
    thread_local std::vector<CString> waiting;
    return waiting;
}

void collect(CString const &text)
{
    try
    {
        reports().push_back(text.Owned());
    }
    catch (std::exception const &)
    {
        // There is no memory for it. The operation fails and tells so.
    }
}

} // namespace

void raise(char const *name, std::string_view message)
{
    py::object const type = py::module_::import("oktdatabase._errors").attr(name);
    PyErr_SetObject(type.ptr(), utf8Object(message).ptr());
    throw py::error_already_set();
}

void raiseSystem(int number, py::handle path)
{
    py::module_::import("oktdatabase._errors").attr("raise_system")(number, path);
    throw std::logic_error("raise_system has raised nothing");
}

void translateFailures()
{
    py::register_exception_translator([](std::exception_ptr failure) {
        try
        {
            if (failure)
                std::rethrow_exception(failure);
        }
        catch (Failure const &found)
        {
            py::object const type = py::module_::import("oktdatabase._errors").attr("FormatError");
            PyErr_SetObject(type.ptr(), utf8Object(found.what()).ptr());
        }
        catch (Cancelled const &)
        {
            if (PyErr_Occurred() == nullptr && PyErr_CheckSignals() == 0)
                PyErr_SetNone(PyExc_KeyboardInterrupt);
        }
    });
}

void collectReports() { OktSetWarningPresenter(&collect); }

void tellReports()
{
    if (reports().empty())
        return;
    std::vector<CString> told;
    told.swap(reports());
    py::object const tell = py::module_::import("oktdatabase._errors").attr("tell_report");
    for (CString const &text : told)
        tell(textObject(text));
}

bool goesOn()
{
    using Clock = std::chrono::steady_clock;
    thread_local Clock::time_point next;
    Clock::time_point const now = Clock::now();
    if (now < next)
        return true;
    next = now + std::chrono::milliseconds(100);
    py::gil_scoped_acquire const acquired;
    return PyErr_CheckSignals() == 0;
}

} // namespace okt::python
