#!/usr/bin/env python3
"""A host in Python with nothing but ctypes: it starts the library, or the checking layer in its
place, writes a value to a stream and reads it back, and ends with nothing held.

usage: check_ctypes_host.py LIBRARY
"""
import ctypes
import functools
import itertools
import pathlib
import sys

TYPES = {"p": ctypes.c_void_p, "t": ctypes.c_char_p, "u": ctypes.c_uint32, "i": ctypes.c_int32,
         "z": ctypes.c_size_t, "v": None, "b": ctypes.c_bool}
CORE = {b"ZELMemoryInterface", b"ZELStringInterface", b"ZELErrorInterface", b"ZELContainerInterface",
        b"ZELSharedBuffInterface", b"ZELStreamFactoryInterface", b"ZELCacheInterface",
        b"ZELFilterInterface", b"ZELProgressInterface"}
STREAM = "PythonStream"
C = ctypes.CDLL(None)
C.malloc.restype = C.realloc.restype = ctypes.c_void_p
C.malloc.argtypes, C.realloc.argtypes = [ctypes.c_size_t], [ctypes.c_void_p, ctypes.c_size_t]
C.free.argtypes = [ctypes.c_void_p]

callbacks = []  # ctypes frees those that nobody keeps
offered = {}    # the host's own, by interface and method
registered = {}  # others, by all three names
counter = ctypes.c_uint32(1)
handles = itertools.count(16, 16)
blocks, texts, atoms, errors, instances, buffers, streams = set(), {}, {}, {}, {}, {}, {}


def prototype(signature):
    """The first letter is that of the result."""
    return ctypes.CFUNCTYPE(*(TYPES[letter] for letter in signature))


def address(function, signature):
    callbacks.append(prototype(signature)(function))
    return ctypes.cast(callbacks[-1], ctypes.c_void_p).value


def store(place, value, kind=ctypes.c_void_p):
    kind.from_address(place).value = value


def offer(interface, signature):
    def take(function):
        offered[interface.encode(), function.__name__.encode()] = address(function, signature)
        return function
    return take


NEVER_CALLED = address(lambda: None, "v")

# ---- Binder ----

binder = functools.partial(offer, "ZEL")


def lookup(interface, method, kind):
    found = registered.get((interface, method, kind)) or offered.get((interface, method))
    return found or (NEVER_CALLED if interface in CORE else None)


@binder("itttp")
def ZELRegisterProcAddress(interface, method, kind, procedure):
    registered[interface, method, kind] = procedure
    return 1


@binder("it")
def ZELUnregisterInterface(interface):
    for key in [key for key in registered if key[0] == interface]:
        del registered[key]
    counter.value = counter.value + 1 or 1
    return 1


@binder("it")
def ZELReportError(text):
    return print("reported:", text.decode()) or 1


@binder("p")
def ZELGetUnregisterCountAddr():
    return ctypes.addressof(counter)


@binder("i")
def ZELIsMultiThreaded():
    return 0


# ---- Memory ----

memory = functools.partial(offer, "ZELMemoryInterface")


@memory("pz")
def Alloc(size):
    block = C.malloc(size or 1)
    if block:
        blocks.add(block)
    return block


@memory("ppz")
def Realloc(block, size):
    moved = C.realloc(block, size or 1)
    if moved:
        blocks.remove(block)
        blocks.add(moved)
    return moved


@memory("vp")
def Free(block):
    blocks.remove(block)
    C.free(block)


# ---- Atoms: references, text ----

strings = functools.partial(offer, "ZELStringInterface")


@strings("ut")
def NewStringAtom(text):
    atom = texts.setdefault(text, next(handles))
    atoms.setdefault(atom, [0, ctypes.create_string_buffer(text)])[0] += 1
    return atom


@strings("vu")
def AddRef(atom):
    atoms[atom][0] += 1


HoldAtom = AddRef


@strings("pu")
def GetCString(atom):
    return ctypes.addressof(atoms[atom][1])


@strings("vu")
def DeleteStringAtom(atom):
    atoms[atom][0] -= 1
    if atoms[atom][0] == 0:
        del texts[atoms.pop(atom)[1].value]


# ---- Errors: references, message, component, number ----

failures = functools.partial(offer, "ZELErrorInterface")


@failures("pttiii")
def NewError(message, component, number, *_):
    error = next(handles)
    errors[error] = [1, NewStringAtom(message), NewStringAtom(component), number]
    return error


@failures("pp")
def AddRef(error):
    errors[error][0] += 1
    return error


@failures("pi")
def GetCoreError(number):
    errors[CORE_ERRORS[number]][0] += 1
    return CORE_ERRORS[number]


@failures("vp")
def Release(error):
    if error is None:
        return
    errors[error][0] -= 1
    if errors[error][0] == 0:
        for atom in errors.pop(error)[1:3]:
            DeleteStringAtom(atom)


ReleaseError = Release


@failures("up")
def GetErrorMessage(error):
    return errors[error][1]


@failures("up")
def GetComponent(error):
    return errors[error][2]


@failures("ip")
def GetID(error):
    return errors[error][3]


def failure(text):
    return NewError(text, b"PythonHost", 0)


CORE_ERRORS = [NewError(b"unknown error", b"DUX", 0), NewError(b"out of memory", b"DUX", 1)]

# ---- Containers: the handle is the address of the primary record ----

containers = functools.partial(offer, "ZELContainerInterface")


class Instance(ctypes.Structure):
    _fields_ = [("name", ctypes.c_void_p), ("signature", ctypes.c_void_p), ("object", ctypes.c_void_p)]
    references, ending = 0, False


@containers("ppp" + "upu" + "iii")
def NewFullContainer(result, thing, implementation, destroy, interface, *_):
    instance = Instance(GetCString(implementation), GetCString(interface), thing)
    instance.atoms, instance.destroy = (implementation, interface), destroy
    for atom in instance.atoms:
        HoldAtom(atom)
    instances[ctypes.addressof(instance)] = instance
    store(result, ctypes.addressof(instance))


@containers("ip")
def AddRef(handle):
    if handle is None or instances[handle].ending:
        return 0
    instances[handle].references += 1
    return 1


HoldInstance = AddRef


@containers("vp")
def DecrementWithoutDelete(handle):
    instances[handle].references -= 1


@containers("vp")
def DeleteUnownedContainer(handle):
    instance = instances[handle]
    if instance.references == 0 and not instance.ending:
        instance.ending = True
        prototype("vp")(instance.destroy)(instance.object)
        for atom in instances.pop(handle).atoms:
            DeleteStringAtom(atom)


@containers("vp")
def Release(handle):
    if handle is not None and instances[handle].references > 0:
        instances[handle].references -= 1
        DeleteUnownedContainer(handle)


ReleaseInstance = Release


@containers("pppuui")
def GetMethod(result, handle, method, kind, _):
    names = instances[handle].atoms[1], method, kind
    store(result, lookup(*(atoms[name][1].value for name in names)))


@containers("pppu")
def NGetInstance(result, handle, implementation):
    if handle is None or instances[handle].atoms[0] != implementation:
        return failure(b"no such implementation")
    return store(result, instances[handle].object)


@containers("i")
def GetOffsetToPrimaryInstance():
    return 0


# ---- Shared buffers: references, bytes; the handle is the address of the bytes ----

shared = functools.partial(offer, "ZELSharedBuffInterface")


@shared("puiiii")
def NewBuffer(size, *_):
    block = Alloc(size)
    if block:
        buffers[block] = [1, size]
    return block


@shared("vp")
def AddRef(buffer):
    buffers[buffer][0] += 1


@shared("vp")
def Release(buffer):
    buffers[buffer][0] -= 1
    if buffers[buffer][0] == 0:
        del buffers[buffer]
        Free(buffer)


@shared("pp")
def GetBuffer(buffer):
    return buffer


@shared("up")
def GetSize(buffer):
    return buffers[buffer][1]


# ---- Streams ----

METHODS = {"Read": "ppppu", "Write": "pppu", "CreateIndependentlyRewindableStream": "ppp", "Rewind": "pp",
           "CreateIndependentlyPositionableStream": "ppp", "Mark": "ppp", "Seek": "ppuu"}
for stream_method, stream_signature in METHODS.items():
    offered[STREAM.encode(), stream_method.encode()] = address(
        lambda handle, *rest, name=stream_method: getattr(streams[instances[handle].object], name)(*rest),
        stream_signature)


class Bytes:
    """A stream over bytes that others may share; those of a file are written at its end."""
    def __init__(self, data, path=None):
        self.data, self.path, self.position = data, path, 0

    def Read(self, delivered, place, wanted):
        part = bytes(self.data[self.position:self.position + wanted])
        ctypes.memmove(place, part, len(part))
        self.position += len(part)
        store(delivered, len(part), ctypes.c_uint32)

    def Write(self, place, count):
        self.data[self.position:self.position + count] = ctypes.string_at(place, count)
        self.position += count

    def CreateIndependentlyRewindableStream(self, result):
        return new_stream(result, Bytes(self.data))

    CreateIndependentlyPositionableStream = CreateIndependentlyRewindableStream

    def Rewind(self):
        self.position = 0

    def Mark(self, place):
        store(place, self.position, ctypes.c_uint32)

    def Seek(self, position, _):
        self.position = position

    def end(self):
        if self.path:
            self.path.write_bytes(self.data)


class Client:
    """A stream over a client's procedures."""
    def __init__(self, client, procedures, destroy):
        for procedure, (name, signature) in zip(procedures, METHODS.items()):
            setattr(self, name, functools.partial(prototype(signature)(procedure), client))
        self.end = functools.partial(prototype("vp")(destroy), client)


END = address(lambda key: streams.pop(key).end(), "vp")


def new_stream(result, stream):
    key = next(handles)
    streams[key] = stream
    names = NewStringAtom(b"PythonStreamImplementation"), NewStringAtom(STREAM.encode())
    NewFullContainer(result, key, names[0], END, names[1])
    for name in names:
        DeleteStringAtom(name)


factory = functools.partial(offer, "ZELStreamFactoryInterface")


@factory("pp")
def NewPositionableMemoryStream(result):
    return new_stream(result, Bytes(bytearray()))


@factory("pptt")
def NewPositionableFileStream(result, path, mode):
    file = pathlib.Path(path.decode())
    if b"r" in mode and not file.exists():
        return failure(b"no such file")
    return new_stream(result, Bytes(bytearray(file.read_bytes() if b"r" in mode else b""),
                                    None if mode.startswith(b"rb") and b"+" not in mode else file))


@factory("p" + "p" * 10)
def NewClientPositionableStream(result, client, *procedures):
    return new_stream(result, Client(client, procedures[:-1], procedures[-1]))


# ---- A use of the library ----

def call(interface, method, kind, signature, *arguments):
    return prototype(signature)(lookup(interface, method, kind))(*arguments)


def main():
    library = ctypes.CDLL(sys.argv[1])
    find = prototype("pttt")(lookup)
    assert library.ZELUtilsInitialize(find) == 1
    text = b"<title (A book) pages [<width 595>]>"
    place = ctypes.c_void_p()
    value = call(b"POSObjectStatics", b"CreateFromText", b"POSObjectCreateFromTextProc", "ptp", text, None)
    streamer = call(b"POSStreamerInterface", b"NewPOSStreamer", b"POSStreamerNewPOSStreamerProc", "p")
    NewPositionableMemoryStream(ctypes.addressof(place))
    stream = place.value
    for handle in value, streamer, stream:
        assert HoldInstance(handle)
    assert call(b"POSStreamerInterface", b"Serialize", b"POSStreamerSerializeProc", "ipppt",
                streamer, stream, value, None)
    streams[instances[stream].object].Rewind()
    again = call(b"POSStreamerInterface", b"Deserialize", b"POSStreamerDeserializeProc", "ppp", streamer, stream)
    assert HoldInstance(again)
    assert call(b"POSObjectInterface", b"IsEqual", b"POSObjectIsEqualProc", "bpp", value, again)
    for handle in value, streamer, stream, again:
        ReleaseInstance(handle)
    library.ZELUtilsTerminate()
    for error in CORE_ERRORS:
        ReleaseError(error)
    left = [len(things) for things in (blocks, atoms, errors, instances, buffers, streams,
                                    [key for key in registered if key[0] not in CORE])]
    print("left:", sum(left) and left)
    return 1 if sum(left) else 0


sys.exit(main())
