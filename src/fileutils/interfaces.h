// The interfaces of the file utilities: a class for each, whose static functions are the procedure
// bodies under their method names. A body may raise; the export table puts the guard around it,
// which turns what it raises into an error object.
#pragma once

#include "frame/object/guard.h"
#include "zelutils/fileutils.h"

namespace NFileUtilsImpl {

struct UtilsDirInterface {
  static void GetTempDir(ZELInstance* result);
  static void GetCurrent(ZELInstance* result);
  static void NewZELUtilsDir(ZELInstance* result, ZELStringAtom directory);
  static void FileExists(bool* result, ZELInstance directory, ZELStringAtom name);
  static void Delete(ZELInstance directory, ZELStringAtom name);
  static void Rename(ZELInstance directory, ZELStringAtom oldName, ZELStringAtom newName);
  static void GetFilePathSpec(ZELStringAtom* result, ZELInstance directory, ZELStringAtom name);
  static void CreateUniqueFilename(ZELStringAtom* result, ZELInstance directory,
                                   ZELStringAtom prefix, ZELStringAtom extension);
};

struct TempFileStreamFactoryInterface {
  static void NewTempFileStream(ZELInstance* result, const char* prefix, const char* extension,
                                const char* mode);
};

}  // namespace NFileUtilsImpl
