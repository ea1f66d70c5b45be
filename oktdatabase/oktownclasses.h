// SPDX-License-Identifier: MIT
#pragma once

class CString;
class OKTDbObject;
class OKTRuntimeClass;
class OktArena;

// The stored classes of this library itself, as opposed to those of client modules: they change no pool while they are written and
// never look at the translation of ids, so that a save and a clone may take shorter ways with their objects. Not installed.

/// The descriptor of one of them. None is, before the library is initialised.
bool OktIsOwnClass(OKTRuntimeClass const &descriptor);
/// An object of exactly that class: a class that derives from it without a descriptor of its own is no own class.
bool OktIsOwnObject(OKTDbObject const &object);
/// The descriptor of that name in g_RuntimeClass, or null. How the library itself looks there: meanwhile another thread may load a client
/// module, which enters its own.
OKTRuntimeClass *OktFindClass(CString const &className);
/// A new object to be read from a stream, as `CreateObject` makes it: owned by the caller, or null. One of the class that most objects
/// belong to comes from the arena, where that has memory.
OKTDbObject *OktMakeToRead(OKTRuntimeClass &descriptor, OktArena &arena);
/// For such an object that could not be read, or that the pool has not taken. It is lost, as it always was (quirk 18); one from the
/// arena ends, since it would keep a region.
void OktLose(OKTDbObject *object);
/// All descriptors made so far are the library's own.
void OktEndOwnClasses();
