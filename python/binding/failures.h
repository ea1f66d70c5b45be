// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>

namespace okt::python
{

// Failures as exceptions of Python, warnings of the library as warnings of Python. All need the interpreter lock, unless told.

/// Throws error_already_set for the exception of that name in oktdatabase: "Error", "FormatError", "ObjectGone". The text is UTF-8.
[[noreturn]] void raise(char const *name, std::string_view message);
/// The OSError of that number, with the path as its file name.
[[noreturn]] void raiseSystem(int number, pybind11::handle path);
/// The exceptions of the libraries, which reach Python by themselves: Failure as FormatError, Cancelled by Ctrl-C as that.
void translateFailures();

/// From now on a warning of the library waits on its thread until tellReports. Needs no lock.
void collectReports();
/// Passes the warnings of this thread on. Throws error_already_set where the user has made them errors.
void tellReports();

/// The answer of a progress callback in work without the interpreter lock: false once a signal has arrived. Takes the lock for a
/// moment.
bool goesOn();

/// Calls a function for a C entry of Python: its exceptions are set, and it answers `failed`.
template <typename R, typename F> R guarded(R failed, F function) noexcept
{
    try
    {
        return function();
    }
    catch (pybind11::error_already_set &error)
    {
        error.restore();
    }
    catch (pybind11::builtin_exception const &error)
    {
        error.set_error();
    }
    catch (std::bad_alloc const &)
    {
        PyErr_NoMemory();
    }
    catch (std::exception const &error)
    {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    }
    return failed;
}

} // namespace okt::python
