/*
 * File utilities: the utilities directory and temporary-file streams.
 *
 * Every procedure returns an error object, null for success; a result is stored only on success.
 * Errors of a directory have the component "ZELUtilsDir" and the system's error number (errno) as
 * their ID. Atoms given are borrowed; an atom delivered carries one reference for the caller.
 * Directory and stream handles are delivered without reference. Names and paths are byte texts, on
 * Windows in the current code page.
 */
#pragma once

#include "zelutils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define ZEL_UTILS_DIR_INTERFACE "ZELUtilsDirInterface"

/*
 * Delivers a directory for the system's temporary directory; its text is a complete path and ends
 * with the separator.
 */
typedef ZELErrorObject (*ZELUtilsDirGetTempDir)(ZELInstance *result);
/* Delivers a directory for the current directory. */
typedef ZELErrorObject (*ZELUtilsDirGetCurrent)(ZELInstance *result);
/* Delivers a directory for a text, used unchanged; it need not exist. */
typedef ZELErrorObject (*ZELUtilsDirNewZELUtilsDir)(ZELInstance *result, ZELStringAtom directory);
/* Delivers whether a file or directory of that name exists there. */
typedef ZELErrorObject (*ZELUtilsDirFileExists)(bool *result, ZELInstance directory,
                                                ZELStringAtom name);
/* Removes a file, never a directory. */
typedef ZELErrorObject (*ZELUtilsDirDelete)(ZELInstance directory, ZELStringAtom name);
/*
 * Renames a file within the directory. A new name that another file has is an error; its own name
 * is none.
 */
typedef ZELErrorObject (*ZELUtilsDirRename)(ZELInstance directory, ZELStringAtom oldName,
                                            ZELStringAtom newName);
/* Delivers the full path of a name; the disk is not consulted. */
typedef ZELErrorObject (*ZELUtilsDirGetFilePathSpec)(ZELStringAtom *result, ZELInstance directory,
                                                     ZELStringAtom name);
/*
 * Creates an empty file under a name that no other file has, with permission for its owner alone,
 * and delivers the name without the directory: process and thread number in hexadecimal, `prefix`,
 * a counter of four hexadecimal digits, a point and `extension`. A prefix or an extension that
 * holds a separator is an error.
 */
typedef ZELErrorObject (*ZELUtilsDirCreateUniqueFilename)(ZELStringAtom *result,
                                                          ZELInstance directory,
                                                          ZELStringAtom prefix,
                                                          ZELStringAtom extension);

#define ZEL_UTILS_DIR_METHODS(X)                 \
  X(GetTempDir, ZELUtilsDirGetTempDir)           \
  X(GetCurrent, ZELUtilsDirGetCurrent)           \
  X(NewZELUtilsDir, ZELUtilsDirNewZELUtilsDir)   \
  X(FileExists, ZELUtilsDirFileExists)           \
  X(Delete, ZELUtilsDirDelete)                   \
  X(Rename, ZELUtilsDirRename)                   \
  X(GetFilePathSpec, ZELUtilsDirGetFilePathSpec) \
  X(CreateUniqueFilename, ZELUtilsDirCreateUniqueFilename)

#define ZEL_UTILS_TEMP_FILE_STREAM_FACTORY "ZELUtilsTempFileStreamFactory"

/*
 * Delivers a new positionable stream over a new file in the temporary directory, opened with `mode`
 * (an open mode of the standard input-output library that allows writing). Asking it for an
 * independent stream ends the writing: it then reads from the start, and the new stream is a reader
 * of its own over the same file. The file is deleted with the stream that was delivered here; when
 * the new file cannot be opened, it stays, empty.
 */
typedef ZELErrorObject (*_ZELUtilsNewTempFileStreamProc_NewTempFileStream)(ZELInstance *result,
                                                                           const char *prefix,
                                                                           const char *extension,
                                                                           const char *mode);

#define ZEL_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS(X) \
  X(NewTempFileStream, _ZELUtilsNewTempFileStreamProc_NewTempFileStream)

/* In the order of registration: X(Name, interface name, methods). */
#define ZEL_FILE_UTILS_INTERFACES(X)                           \
  X(UtilsDir, ZEL_UTILS_DIR_INTERFACE, ZEL_UTILS_DIR_METHODS)  \
  X(TempFileStreamFactory, ZEL_UTILS_TEMP_FILE_STREAM_FACTORY, \
    ZEL_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS)

#ifdef __cplusplus
}
#endif
