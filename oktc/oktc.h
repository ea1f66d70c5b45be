// SPDX-License-Identifier: MIT
#pragma once

// The pool database for programs that are not written in C++, or are built by another compiler than the library: pools, their
// objects, files, the text form, checks and recovery. C99, and C++ besides. This header needs no other one of the library.
//
// Handles. A pool, an object or a report is a number, 0 never is one. No number is given twice in a process, so a handle
// whose object is gone is known as such: OKTC_GONE for an object that was erased or replaced, OKTC_CLOSED for a pool or
// report that was closed and for all objects of such a pool, OKTC_BAD_HANDLE for what never was a handle of that kind. An
// object always belongs to a pool, has the same handle however often it is asked for, and goes with the pool. Its handle
// needs not be released.
//
// Answers. A function that can fail gives an OktcStatus; what it was to give is then 0, or null. A null pointer in place of a
// result or of a text that is needed is OKTC_NULL_ARGUMENT. OKTC_NO_MEMORY leaves the pool as it was, unless the function
// says otherwise. No exception leaves a function, and none ends the process. While a call runs, no warning of the library is
// shown.
//
// Memory. What comes back through `char **`, `uint8_t **` or `uint64_t **` belongs to the caller, who frees it by oktcFree. A
// text has a zero behind it that its length does not count, and may have zeros in it. What is `const` stays the library's.
//
// Texts are UTF-8, in and out; other bytes are OKTC_BAD_TEXT. A length below 0 stands for a text that ends at its first zero.
// A text of a file may have lone surrogates, which UTF-8 has no form for: oktcText refuses it (OKTC_LONE_SURROGATE), and
// oktcEscapedText gives it as the text form does, so that none is lost. Paths are UTF-8 that ends at a zero, on every system.
//
// Ids are 16 bytes as they lie in a file: on Windows those of a GUID structure. A null pointer in place of an id that is set
// stands for the null id.
//
// Units. A pool counts lengths in its drawing unit, a file in metres. The factor is the number of drawing units in a metre:
// 1000 for millimetres, 39.37007874015748 for inches.
//
// Threads. Every function may be called on any thread. A pool is used by one call at a time: a second one is OKTC_BUSY, and
// changes nothing. Calls with different pools run at the same time, save for oktcVerify..., oktcRecover and oktcLoadModule,
// which wait for all others and let them wait. A function that is called back may call only those that give no status; all
// others are OKTC_BUSY there.
//
// Windows: the calling convention is __cdecl, also of functions that are called back.

#include <stdint.h>

#if defined(_WIN32)
#define OKTC_CALL __cdecl
#if defined(OKTC_BUILDING)
#define OKTC_API __declspec(dllexport)
#else
#define OKTC_API __declspec(dllimport)
#endif
#else
#define OKTC_CALL
#if defined(__GNUC__)
#define OKTC_API __attribute__((visibility("default")))
#else
#define OKTC_API
#endif
#endif

#ifdef __cplusplus
extern "C"
{
#endif

    typedef uint64_t OktcPool;
    typedef uint64_t OktcObject;
    typedef uint64_t OktcReport;
    /// A pool or an object.
    typedef uint64_t OktcHandle;
    typedef int32_t OktcStatus;

    /// The statuses. Numbers stay as they are in all releases; further ones may come.
    enum
    {
        OKTC_OK = 0,
        OKTC_NULL_ARGUMENT = 1, ///< a pointer that is needed is null
        OKTC_BAD_ARGUMENT = 2,  ///< an index or a number outside what is allowed
        OKTC_BAD_HANDLE = 3,    ///< a number that never was a handle of this kind
        OKTC_CLOSED = 4,        ///< the pool or the report is closed
        OKTC_GONE = 5,          ///< the object was erased or replaced
        OKTC_BUSY = 6,          ///< another call uses the pool, or a call runs on this thread
        OKTC_NO_MEMORY = 7,
        OKTC_NOT_FOUND = 8,
        OKTC_WRONG_CLASS = 9,     ///< objects of this class have no such member
        OKTC_WRONG_KIND = 10,     ///< the value is of another kind
        OKTC_BAD_TEXT = 11,       ///< not UTF-8, or not in the notation that is asked for
        OKTC_LONE_SURROGATE = 12, ///< the text has no form in UTF-8
        OKTC_FILE = 13,           ///< the system refuses the file, or it is none
        OKTC_DAMAGED = 14,        ///< the bytes are no whole pool file
        OKTC_UNKNOWN_CLASS = 15,  ///< a class that no loaded module has
        OKTC_NOT_STORABLE = 16,   ///< the pool holds what a file cannot
        OKTC_TOO_LARGE = 17,      ///< more than 2147483647 bytes, or a text of more than 65535 units of UTF-16
        OKTC_CANCELLED = 18,      ///< the function that is told of the progress ended it
        OKTC_NOT_FLUSHED = 19,    ///< the new file is in place; whether it outlives a loss of power is not certain
        OKTC_NOTHING = 20,        ///< nothing can be rescued
        OKTC_FAILED = 21          ///< another reason, told by oktcLastMessage
    };

    // --- This library ----------------------------------------------------------------------------------------------------

/// The release of this header: 1000000 for each major, 1000 for each minor number, and the patch.
#define OKTC_VERSION 10000000

    /// The same of the library that runs. Not smaller than OKTC_VERSION where all that the header declares is there.
    OKTC_API uint32_t OKTC_CALL oktcVersion(void);
    /// "out of memory". Good for ever; of an unknown status "unknown status".
    OKTC_API char const *OKTC_CALL oktcStatusName(OktcStatus status);
    /// Why the last call on this thread failed, in one line of UTF-8 with file and place where there are any; empty behind
    /// OKTC_OK. Good until the next call on this thread, and cut where it has more than some 500 bytes. oktcFree, oktcVersion
    /// and oktcStatusName leave it.
    OKTC_API char const *OKTC_CALL oktcLastMessage(void);
    /// Frees what a function of this header gave. Null is allowed.
    OKTC_API void OKTC_CALL oktcFree(void *memory);
    /// Loads a client module, whose classes are known from then on. It stays loaded. Twice the same one: nothing happens.
    /// OKTC_FILE: it cannot be loaded, or brings no class. Loads code of that file: the path must be one that is trusted.
    OKTC_API OktcStatus OKTC_CALL oktcLoadModule(char const *path);

    /// "{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}".
    OKTC_API OktcStatus OKTC_CALL oktcIdToText(uint8_t const id[16], char **text, uint64_t *length);
    /// The id of such a text, in either case of letters. OKTC_BAD_TEXT: it has another form.
    OKTC_API OktcStatus OKTC_CALL oktcIdFromText(char const *text, int64_t length, uint8_t id[16]);

    // --- Pools -------------------------------------------------------------------------------------------------------------

    /// An empty pool with a new id and the factor 1. The caller closes every pool that a function gives.
    OKTC_API OktcStatus OKTC_CALL oktcPoolCreate(OktcPool *pool);
    /// Loads a file, with lengths in the drawing unit of the factor. OKTC_FILE, OKTC_DAMAGED, OKTC_UNKNOWN_CLASS: no pool is
    /// made. OKTC_FAILED: the load failed, but the file shows nothing wrong; another try may do.
    OKTC_API OktcStatus OKTC_CALL oktcPoolOpen(char const *path, double factor, OktcPool *pool);
    /// The same, but only objects of these classes, or of classes derived from them, are kept. OKTC_UNKNOWN_CLASS also for a
    /// name that is no class.
    OKTC_API OktcStatus OKTC_CALL oktcPoolOpenOnly(char const *path, double factor, char const *const *classNames,
                                                   uint64_t count, OktcPool *pool);
    /// oktcPoolOpen with the bytes of a file. They are copied.
    OKTC_API OktcStatus OKTC_CALL oktcPoolLoad(void const *bytes, uint64_t length, double factor, OktcPool *pool);
    /// A pool with the header of a file alone: id, name, factor, roles, and the places of what it names (oktcPoolPlace). Only
    /// the header is read. A file of less than 1024 bytes is OKTC_DAMAGED, here and in the next two.
    OKTC_API OktcStatus OKTC_CALL oktcPoolReadHeader(char const *path, OktcPool *pool);
    /// The same with the object that serves as index, or with the pictures; lengths in metres. OKTC_NOT_FOUND: there is no
    /// index; OKTC_UNKNOWN_CLASS: no module has its class.
    OKTC_API OktcStatus OKTC_CALL oktcPoolReadIndex(char const *path, OktcPool *pool);
    OKTC_API OktcStatus OKTC_CALL oktcPoolReadPictures(char const *path, OktcPool *pool);
    /// Where an object lies in the file whose header was read, in bytes. OKTC_NOT_FOUND: the header does not say.
    OKTC_API OktcStatus OKTC_CALL oktcPoolPlace(OktcPool pool, uint8_t const id[16], int64_t *position, int64_t *size);
    /// Saves the pool: the old file or the new one is there, whatever fails. OKTC_NOT_STORABLE: the message names the object;
    /// OKTC_FILE: the message tells why; OKTC_NOT_FLUSHED: the new file is there.
    OKTC_API OktcStatus OKTC_CALL oktcPoolSave(OktcPool pool, char const *path);
    /// The bytes that oktcPoolSave writes.
    OKTC_API OktcStatus OKTC_CALL oktcPoolImage(OktcPool pool, uint8_t **bytes, uint64_t *length);
    /// A copy. With `newIds` other than 0 all its objects have new ids, and references between them follow.
    OKTC_API OktcStatus OKTC_CALL oktcPoolClone(OktcPool pool, int32_t newIds, OktcPool *copy);
    /// The new id of an object of the pool that such a clone was made of. OKTC_NOT_FOUND: it has none.
    OKTC_API OktcStatus OKTC_CALL oktcPoolNewId(OktcPool clone, uint8_t const oldId[16], uint8_t newId[16]);
    /// Adds copies of the objects of another pool, under their ids, and takes its id, name, roles and factor over. When it
    /// fails, some objects may have been added.
    OKTC_API OktcStatus OKTC_CALL oktcPoolCopyFrom(OktcPool pool, OktcPool source);
    /// Deletes the pool with all its objects. OKTC_CLOSED the second time, which does no harm.
    OKTC_API OktcStatus OKTC_CALL oktcPoolClose(OktcPool pool);

    /// The factor. A factor that is set must be a number above 0; the lengths that are in the pool stay the numbers that they
    /// are.
    OKTC_API OktcStatus OKTC_CALL oktcPoolFactor(OktcPool pool, double *factor);
    OKTC_API OktcStatus OKTC_CALL oktcPoolSetFactor(OktcPool pool, double factor);
    /// The number of objects.
    OKTC_API OktcStatus OKTC_CALL oktcPoolCount(OktcPool pool, uint64_t *count);
    /// The object at that position, from 0, in the order of ids. OKTC_BAD_ARGUMENT: there is none.
    OKTC_API OktcStatus OKTC_CALL oktcPoolAt(OktcPool pool, uint64_t position, OktcObject *object);
    /// The object of that id. OKTC_NOT_FOUND: there is none.
    OKTC_API OktcStatus OKTC_CALL oktcPoolFind(OktcPool pool, uint8_t const id[16], OktcObject *object);
    /// All objects of the class, or of classes derived from it, in the order of ids; of any class where the name is null.
    OKTC_API OktcStatus OKTC_CALL oktcPoolObjects(OktcPool pool, char const *className, OktcObject **objects, uint64_t *count);
    /// Deletes all objects.
    OKTC_API OktcStatus OKTC_CALL oktcPoolEraseAll(OktcPool pool);

    // --- Objects -----------------------------------------------------------------------------------------------------------

    /// A new object of a class ("OKTDbCategory", "OKTDbPicture", or one of a client module) in the pool, under a new id.
    OKTC_API OktcStatus OKTC_CALL oktcObjectCreate(OktcPool pool, char const *className, OktcObject *object);
    /// A new parameter of that type, with the name of the type, that the pool owns. Its value is empty, which a file cannot
    /// hold: set one before the pool is saved or copied.
    OKTC_API OktcStatus OKTC_CALL oktcParameterCreate(OktcPool pool, int32_t type, OktcObject *parameter);
    /// Deletes the object. Ids that name it elsewhere stay.
    OKTC_API OktcStatus OKTC_CALL oktcObjectErase(OktcObject object);
    /// Puts another object of the same pool and class in its place: that one has its id from then on, and its own id is gone,
    /// as is the first object with its handle. OKTC_WRONG_CLASS: the classes differ.
    OKTC_API OktcStatus OKTC_CALL oktcObjectReplace(OktcObject object, OktcObject by);
    /// The pool that has it. OKTC_GONE, OKTC_CLOSED: the way to ask whether an object is still there.
    OKTC_API OktcStatus OKTC_CALL oktcObjectPool(OktcObject object, OktcPool *pool);
    /// The name of its class.
    OKTC_API OktcStatus OKTC_CALL oktcObjectClass(OktcObject object, char **name, uint64_t *length);
    /// 1: it is of that class or of one derived from it; else 0. OKTC_UNKNOWN_CLASS: there is no class of that name.
    OKTC_API OktcStatus OKTC_CALL oktcObjectIsKind(OktcObject object, char const *className, int32_t *isKind);

    // --- Members -----------------------------------------------------------------------------------------------------------

    /// Members that are texts.
    enum
    {
        OKTC_NAME = 1,        ///< of a pool, a parameter or a category
        OKTC_EXPRESSION = 2,  ///< of a parameter
        OKTC_DESCRIPTION = 3, ///< of a parameter
        OKTC_VALUE = 4        ///< of a parameter whose value is a text; setting it makes the value a text
    };
    /// OKTC_WRONG_CLASS: no such member; OKTC_WRONG_KIND: the value is no text; OKTC_LONE_SURROGATE: see above;
    /// OKTC_TOO_LARGE: a text is set that has more than 65535 units of UTF-16, which a file cannot hold.
    OKTC_API OktcStatus OKTC_CALL oktcText(OktcHandle handle, int32_t member, char **text, uint64_t *length);
    OKTC_API OktcStatus OKTC_CALL oktcSetText(OktcHandle handle, int32_t member, char const *text, int64_t length);
    /// The same in the notation of the text form's "string16-escaped": a lone surrogate is \uD800 and a backslash \\. Every
    /// text has one, and a text set by it is again the same, unit by unit.
    OKTC_API OktcStatus OKTC_CALL oktcEscapedText(OktcHandle handle, int32_t member, char **text, uint64_t *length);
    OKTC_API OktcStatus OKTC_CALL oktcSetEscapedText(OktcHandle handle, int32_t member, char const *text, int64_t length);

    /// Members that are the id of another object, which needs not be there.
    enum
    {
        OKTC_ID = 1,        ///< of a pool; of an object, where it cannot be set (OKTC_BAD_ARGUMENT)
        OKTC_OWNER = 2,     ///< of a parameter. Its lengths are those of a drawing unit only where it has one
        OKTC_CATEGORY = 3,  ///< of a parameter
        OKTC_GROUP = 4,     ///< of a category
        OKTC_CONSTRUCT = 5, ///< of a pool, as all below: objects with a role
        OKTC_INDEX = 6,
        OKTC_SKETCH = 7,
        OKTC_ACTIONS = 8,
        OKTC_RADIAL = 9
    };
    /// The id; the null id where nothing is named.
    OKTC_API OktcStatus OKTC_CALL oktcReference(OktcHandle handle, int32_t member, uint8_t id[16]);
    OKTC_API OktcStatus OKTC_CALL oktcSetReference(OktcHandle handle, int32_t member, uint8_t const *id);

    /// Members that are lists of ids.
    enum
    {
        OKTC_PARAMETERS = 1, ///< of a category or a relation of parameters
        OKTC_CATEGORIES = 2, ///< of a group of categories
        OKTC_USES = 3,       ///< of a parameter; the only list that may hold an id twice
        OKTC_ELEMENTS = 4,   ///< of a group of parameters; not stored in files
        OKTC_PICTURES = 5    ///< of a pool
    };
    /// All ids, 16 bytes each, one behind the other.
    OKTC_API OktcStatus OKTC_CALL oktcList(OktcHandle handle, int32_t member, uint8_t **ids, uint64_t *count);
    /// Adds an id at the end; elements are kept in the order of their names. Nothing happens where the list has it already,
    /// but for OKTC_USES. OKTC_WRONG_CLASS: an element must be a parameter of the pool.
    OKTC_API OktcStatus OKTC_CALL oktcListAppend(OktcHandle handle, int32_t member, uint8_t const id[16]);
    /// Removes every entry of the id. OKTC_NOT_FOUND: there is none.
    OKTC_API OktcStatus OKTC_CALL oktcListRemove(OktcHandle handle, int32_t member, uint8_t const id[16]);

    // --- Parameters --------------------------------------------------------------------------------------------------------

    /// The number of its type, which decides whether it is a length; the name stays when it is set.
    OKTC_API OktcStatus OKTC_CALL oktcParameterType(OktcObject parameter, int32_t *type);
    OKTC_API OktcStatus OKTC_CALL oktcParameterSetType(OktcObject parameter, int32_t type);
    /// The text that a user sees for the type, and 1 where its values are lengths, else 0.
    OKTC_API OktcStatus OKTC_CALL oktcParameterTypeName(OktcObject parameter, char **name, uint64_t *length);
    OKTC_API OktcStatus OKTC_CALL oktcParameterIsLength(OktcObject parameter, int32_t *isLength);
    /// The place in a list of alike parameters, 0 for none, and its code: "A" for 1, "AA" for 27.
    OKTC_API OktcStatus OKTC_CALL oktcParameterListIndex(OktcObject parameter, int32_t *listIndex);
    OKTC_API OktcStatus OKTC_CALL oktcParameterSetListIndex(OktcObject parameter, int32_t listIndex);
    OKTC_API OktcStatus OKTC_CALL oktcParameterListCode(OktcObject parameter, char **code, uint64_t *length);

    /// What a value is, by the numbers that a file has. There are further ones.
    enum
    {
        OKTC_EMPTY = 0,
        OKTC_INT = 3,
        OKTC_DOUBLE = 5,
        OKTC_TEXT = 8,
        OKTC_BOOL = 11
    };
    OKTC_API OktcStatus OKTC_CALL oktcParameterKind(OktcObject parameter, int32_t *kind);
    /// The value, lengths in drawing units. OKTC_WRONG_KIND: it is of another kind; nothing is converted. A text is oktcText
    /// of OKTC_VALUE.
    OKTC_API OktcStatus OKTC_CALL oktcParameterDouble(OktcObject parameter, double *value);
    OKTC_API OktcStatus OKTC_CALL oktcParameterInt(OktcObject parameter, int32_t *value);
    /// 1 or 0. Any number but 0 sets it.
    OKTC_API OktcStatus OKTC_CALL oktcParameterBool(OktcObject parameter, int32_t *value);
    OKTC_API OktcStatus OKTC_CALL oktcParameterSetDouble(OktcObject parameter, double value);
    OKTC_API OktcStatus OKTC_CALL oktcParameterSetInt(OktcObject parameter, int32_t value);
    OKTC_API OktcStatus OKTC_CALL oktcParameterSetBool(OktcObject parameter, int32_t value);

    // --- Pictures ----------------------------------------------------------------------------------------------------------

    /// The bytes of the image, in whatever format the host uses. They are copied. OKTC_TOO_LARGE: see there.
    OKTC_API OktcStatus OKTC_CALL oktcPictureData(OktcObject picture, uint8_t **bytes, uint64_t *length);
    OKTC_API OktcStatus OKTC_CALL oktcPictureSetData(OktcObject picture, void const *bytes, uint64_t length);
    /// Where the camera stands, what it looks at, and what is up for it: x, y and z of each.
    OKTC_API OktcStatus OKTC_CALL oktcPictureCamera(OktcObject picture, double camera[3], double target[3], double up[3]);
    OKTC_API OktcStatus OKTC_CALL oktcPictureSetCamera(OktcObject picture, double const camera[3], double const target[3],
                                                       double const up[3]);

    // --- The text form -----------------------------------------------------------------------------------------------------

    /// The lossless text (JSON) of the bytes of a pool file. OKTC_DAMAGED: the message tells the byte.
    OKTC_API OktcStatus OKTC_CALL oktcTextForm(void const *bytes, uint64_t length, char **text, uint64_t *textLength);
    /// The bytes of such a text. OKTC_BAD_TEXT: the message tells line and column.
    OKTC_API OktcStatus OKTC_CALL oktcImageOfText(char const *text, int64_t length, uint8_t **bytes, uint64_t *imageLength);

    // --- Checks and recovery -----------------------------------------------------------------------------------------------

    /// Is told how many bytes of how many are done, over all passes; 0 for a total that is not known. An answer other than 0
    /// ends the operation with OKTC_CANCELLED. `context` is what the caller gave. It must not raise an exception.
    typedef int32_t(OKTC_CALL *OktcProgress)(void *context, uint64_t done, uint64_t total);

    /// Checks a pool file. OKTC_OK: it was looked at, whatever was found; the caller closes the report. The progress function
    /// may be null.
    OKTC_API OktcStatus OKTC_CALL oktcVerify(char const *path, OktcProgress progress, void *context, OktcReport *report);
    /// The same with the bytes of a file, which must stay as they are meanwhile.
    OKTC_API OktcStatus OKTC_CALL oktcVerifyImage(void const *bytes, uint64_t length, OktcProgress progress, void *context,
                                                  OktcReport *report);
    /// Makes a new file of all that is whole in a damaged one, which stays as it is: the new path must be another one
    /// (OKTC_BAD_ARGUMENT). A file of that name is replaced as oktcPoolSave does. OKTC_NOTHING, or any other status but
    /// OKTC_OK and OKTC_NOT_FLUSHED: there is no new file and no report.
    OKTC_API OktcStatus OKTC_CALL oktcRecover(char const *damaged, char const *path, OktcProgress progress, void *context,
                                              OktcReport *report);
    /// OKTC_CLOSED the second time, which does no harm.
    OKTC_API OktcStatus OKTC_CALL oktcReportClose(OktcReport report);

    /// Sums of a report.
    enum
    {
        OKTC_OBJECTS = 1, ///< objects that were looked at, by a recovery in the new file; as are the next three
        OKTC_ERRORS = 2,
        OKTC_WARNINGS = 3,
        OKTC_INFOS = 4,
        OKTC_RESCUED = 5, ///< of a recovery, as all below: objects in the new file that nothing is known against
        OKTC_DOUBTFUL = 6,
        OKTC_LOST = 7,
        OKTC_MISSING_IDS = 8,      ///< ids that are referred to and are neither there nor known as lost
        OKTC_LEFT_OUT = 9,         ///< bytes of unknown origin
        OKTC_UNKNOWN_OBJECTS = 10, ///< objects whose class no module has; they are in the new file
        OKTC_CLEAN = 11            ///< 1: nothing is known to be lost, missing or doubtful, and the header is unchanged; else 0
    };
    /// OKTC_NOT_FOUND: a sum that this report has not.
    OKTC_API OktcStatus OKTC_CALL oktcReportSum(OktcReport report, int32_t which, int64_t *sum);
    /// The number of findings.
    OKTC_API OktcStatus OKTC_CALL oktcReportCount(OktcReport report, uint64_t *count);

    /// How grave a finding is.
    enum
    {
        OKTC_ERROR = 0,
        OKTC_WARNING = 1,
        OKTC_INFO = 2
    };
    /// What a finding says of a recovery. A check has OKTC_FOUND alone.
    enum
    {
        OKTC_FOUND = 0,          ///< something about what the file, or the new one, holds
        OKTC_FOUND_LOST = 1,     ///< why an object, or the header, of the damaged file is not in the new one
        OKTC_FOUND_LEFT_OUT = 2, ///< bytes that belong to no whole object
        OKTC_FOUND_MENDED = 3,   ///< a wrong place in the old header that is right in the new one
        OKTC_FOUND_MADE = 4,     ///< where a field of a new header comes from
        OKTC_FOUND_MISSING = 5,  ///< an id that is missing, of the new file, as the next
        OKTC_FOUND_DOUBT = 6
    };
    /// Of the finding at that index, from 0; OKTC_BAD_ARGUMENT: there is none.
    OKTC_API OktcStatus OKTC_CALL oktcFindingSeverity(OktcReport report, uint64_t index, int32_t *severity);
    OKTC_API OktcStatus OKTC_CALL oktcFindingRole(OktcReport report, uint64_t index, int32_t *role);
    /// A word for programs, such as "missing", the same in all releases.
    OKTC_API OktcStatus OKTC_CALL oktcFindingCode(OktcReport report, uint64_t index, char **code, uint64_t *length);
    /// What a user is told, in one line, without file and place.
    OKTC_API OktcStatus OKTC_CALL oktcFindingMessage(OktcReport report, uint64_t index, char **message, uint64_t *length);
    /// Bytes from the start of the file: the damaged one for OKTC_FOUND_LOST to OKTC_FOUND_MADE.
    OKTC_API OktcStatus OKTC_CALL oktcFindingOffset(OktcReport report, uint64_t index, int64_t *offset);
    /// The object concerned. OKTC_NOT_FOUND: none, or it has no id.
    OKTC_API OktcStatus OKTC_CALL oktcFindingObject(OktcReport report, uint64_t index, uint8_t id[16]);
    /// The id that is missing. OKTC_NOT_FOUND: it is another kind of finding.
    OKTC_API OktcStatus OKTC_CALL oktcFindingNamed(OktcReport report, uint64_t index, uint8_t id[16]);

#ifdef __cplusplus
}
#endif
