"""C types of the procedures that cross the binder, as the public headers have them.

Prototypes keep the interpreter's lock during a call (``PYFUNCTYPE``): the library is called one call
at a time, and its calls are short.
"""

import ctypes
import typing
from ctypes import (POINTER, PYFUNCTYPE, c_bool, c_char_p, c_double, c_int32, c_size_t, c_uint16,
                    c_uint32, c_void_p)

Instance = c_void_p
Atom = c_uint32
Error = c_void_p

ReleaseProc = ctypes.CFUNCTYPE(None, c_void_p)
MessageProc = ctypes.CFUNCTYPE(None, c_char_p)
CallbackProc = ctypes.CFUNCTYPE(c_int32, c_void_p, c_uint32, c_void_p, c_void_p)

# Interface -> (method, procedure type, result, arguments) of what this package calls.
INTERFACES: dict[str, list[tuple[str, str, typing.Any, tuple[typing.Any, ...]]]] = {
    "ZELContainerInterface": [
        ("AddRef", "ZELAddRefContainerV2Proc", c_int32, (Instance,)),
        ("Release", "ZELReleaseContainerProc", None, (Instance,)),
        ("GetMethod", "ZELGetMethodV3Proc", Error,
         (POINTER(c_void_p), Instance, Atom, Atom, c_int32)),
    ],
    "ZELStringInterface": [
        ("NewStringAtom", "ZELNewStringAtomProc", Atom, (c_char_p,)),
        ("DeleteStringAtom", "ZELDeleteStringAtomProc", None, (Atom,)),
        ("GetCString", "ZELGetCStringProc", c_char_p, (Atom,)),
    ],
    "ZELErrorInterface": [
        ("Release", "ZELErrorReleaseProc", None, (Error,)),
        ("GetErrorMessage", "ZELErrorGetMessageProc", Atom, (Error,)),
    ],
    "ZELSharedBuffInterface": [
        ("GetBuffer", "ZELSharedBuffGetBufferProc", c_void_p, (c_void_p,)),
        ("GetSize", "ZELSharedBuffGetSizeProc", c_uint32, (c_void_p,)),
    ],
    "ZELStreamFactoryInterface": [
        ("NewPositionableMemoryStream", "ZELNewPositionableMemoryStreamProc", Error,
         (POINTER(Instance),)),
    ],
    "POSObjectInterface": [
        ("Clone", "POSObjectCloneProc", Instance, (Instance,)),
        ("IsEqual", "POSObjectIsEqualProc", c_bool, (Instance, Instance)),
        ("GetType", "POSObjectGetTypeProc", c_int32, (Instance,)),
    ],
    "POSObjectStatics": [
        ("CreateFromText", "POSObjectCreateFromTextProc", Instance, (c_char_p, POINTER(c_void_p))),
    ],
    "POSNumberInterface": [
        ("NewPOSNumber", "POSNumberNewPOSNumberProc", Instance, (c_double,)),
        ("Get", "POSNumberGetProc", c_double, (Instance,)),
    ],
    "POSStringInterface": [
        ("NewPOSString", "POSStringNewPOSStringProc", Instance, (c_char_p,)),
        ("Get", "POSStringGetProc", c_char_p, (Instance,)),
    ],
    "POSUnicodeStringInterface": [
        ("NewPOSUnicodeString", "POSUnicodeStringNewPOSUnicodeStringProc", Instance,
         (POINTER(c_uint16),)),
        ("Get", "POSUnicodeStringGetProc", POINTER(c_uint16), (Instance,)),
    ],
    "POSBinDataInterface": [
        ("NewPOSBinData", "POSBinDataNewPOSBinDataProc", Instance, (c_char_p, c_char_p, c_uint32)),
        ("GetTypeName", "POSBinDataGetTypeNameProc", c_char_p, (Instance,)),
        ("GetBinData", "POSBinDataGetBinDataProc", c_void_p, (Instance,)),
        ("GetSize", "POSBinDataGetSizeProc", c_uint32, (Instance,)),
    ],
    "POSRawPointerInterface": [
        ("NewPOSRawPointer", "POSRawPointerNewPOSRawPointerProc", Instance, (c_void_p, c_void_p)),
        ("GetRawPointer", "POSRawPointerGetRawPointerProc", c_void_p, (Instance,)),
    ],
    "POSArrayInterface": [
        ("NewPOSArray", "POSArrayNewPOSArrayProc", Instance, ()),
        ("GetAt", "POSArrayGetAtProc", Instance, (Instance, c_uint32)),
        ("Count", "POSArrayCountProc", c_uint32, (Instance,)),
        ("SetAt", "POSArraySetAtProc", None, (Instance, c_uint32, Instance)),
        ("Append", "POSArrayAppendProc", None, (Instance, Instance)),
        ("Remove", "POSArrayRemoveProc", None, (Instance, c_uint32)),
    ],
    "POSDictInterface": [
        ("NewPOSDict", "POSDictNewPOSDictProc", Instance, ()),
        ("Get", "POSDictGetProc", Instance, (Instance, Atom)),
        ("DeepGet", "POSDictDeepGetProc", Instance, (Instance, Atom)),
        ("Put", "POSDictPutProc", None, (Instance, Atom, Instance)),
        ("Remove", "POSDictRemoveProc", None, (Instance, Atom)),
    ],
    "POSDictIteratorInterface": [
        ("NewPOSDictIterator", "POSDictIteratorNewPOSDictIteratorProc", Instance, (Instance,)),
        ("Next", "POSDictIteratorNextProc", None, (Instance,)),
        ("IsDone", "POSDictIteratorIsDoneProc", c_bool, (Instance,)),
        ("CurKey", "POSDictIteratorCurKeyProc", c_char_p, (Instance,)),
    ],
    "POSStreamerInterface": [
        ("NewPOSStreamer", "POSStreamerNewPOSStreamerProc", Instance, ()),
        ("Serialize", "POSStreamerSerializeProc", c_int32,
         (Instance, Instance, Instance, c_char_p)),
        ("Deserialize", "POSStreamerDeserializeProc", Instance, (Instance, Instance)),
    ],
    "POSStructValidatorInterface": [
        ("NewPOSStructValidator", "POSStructValidatorNewStructValidatorProc", Instance,
         (Instance,)),
        ("RegisterCallbackProc", "POSStructValidatorRegisterCallbackProc", None,
         (Instance, Atom, CallbackProc, c_void_p)),
        ("ValidateSchema", "POSStructValidatorValidateSchemaProc", c_int32,
         (Instance, MessageProc)),
    ],
    "POSValidatorInterface": [
        ("Validate", "POSValidatorValidateProc", c_int32,
         (Instance, Instance, Atom, MessageProc)),
    ],
    "ZELUtilsTempFileStreamFactory": [
        ("NewTempFileStream", "_ZELUtilsNewTempFileStreamProc_NewTempFileStream", Error,
         (POINTER(Instance), c_char_p, c_char_p, c_char_p)),
    ],
}

# Methods that every stream instance offers: name -> (procedure type, prototype).
STREAM_METHODS = {
    "Read": ("ZELSimpleStreamReadProc",
             PYFUNCTYPE(Error, Instance, POINTER(c_uint32), c_void_p, c_uint32)),
    "Write": ("ZELSimpleStreamWriteProc", PYFUNCTYPE(Error, Instance, c_char_p, c_uint32)),
    "CreateIndependentlyPositionableStream":
        ("ZELPositionableStreamCreateIndependentlyPositionableStreamProc",
         PYFUNCTYPE(Error, Instance, POINTER(Instance))),
    "Mark": ("ZELPositionableStreamMarkProc", PYFUNCTYPE(Error, Instance, POINTER(c_uint32))),
    "Seek": ("ZELPositionableStreamSeekProc", PYFUNCTYPE(Error, Instance, c_uint32, c_uint32)),
}

# The answers of GetType.
NUMBER, STRING, UNICODE_STRING, BIN_DATA, RAW_POINTER, ARRAY, DICT = range(1, 8)


class Procedures:
    """The procedures of one interface, callable by their method's name."""

    if typing.TYPE_CHECKING:
        def __getattr__(self, method: str) -> typing.Any: ...

    def __init__(self, find, name):
        for method, proc_type, result, arguments in INTERFACES[name]:
            address = find(name, method, proc_type)
            if not address:
                raise OSError("the library offers no %s of %s" % (method, name))
            setattr(self, method, PYFUNCTYPE(result, *arguments)(address))
