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


def offer(interface, **procedures):
    for name, (signature, function) in procedures.items():
        offered[interface.encode(), name.encode()] = address(function, signature)


def counted(things, end):
    """The procedures that take and give back references to things, which begin with their number."""
    def take(handle):
        things[handle][0] += 1
        return handle

    def give_back(handle):
        if handle is not None:
            things[handle][0] -= 1
            if things[handle][0] == 0:
                end(handle, things.pop(handle))
    return take, give_back


NEVER_CALLED = address(lambda: None, "v")

# ---- Binder ----


def lookup(interface, method, kind):
    found = registered.get((interface, method, kind)) or offered.get((interface, method))
    return found or (NEVER_CALLED if interface in CORE else None)


def register(interface, method, kind, procedure):
    registered[interface, method, kind] = procedure
    return 1


def unregister(interface):
    for key in [key for key in registered if key[0] == interface]:
        del registered[key]
    counter.value = counter.value + 1 or 1
    return 1


offer("ZEL", ZELRegisterProcAddress=("itttp", register), ZELUnregisterInterface=("it", unregister),
      ZELReportError=("it", lambda text: print("reported:", text.decode()) or 1),
      ZELGetUnregisterCountAddr=("p", lambda: ctypes.addressof(counter)),
      ZELIsMultiThreaded=("i", lambda: 0))

# ---- Memory ----


def alloc(size):
    block = C.malloc(size or 1)
    if block:
        blocks.add(block)
    return block


def realloc(block, size):
    moved = C.realloc(block, size or 1)
    if moved:
        blocks.remove(block)
        blocks.add(moved)
    return moved


def free(block):
    blocks.remove(block)
    C.free(block)


offer("ZELMemoryInterface", Alloc=("pz", alloc), Realloc=("ppz", realloc), Free=("vp", free))

# ---- Atoms: references, text ----


def new_atom(text):
    atom = texts.setdefault(text, next(handles))
    atoms.setdefault(atom, [0, ctypes.create_string_buffer(text)])[0] += 1
    return atom


def text_of(atom):
    return ctypes.addressof(atoms[atom][1])


hold_atom, drop_atom = counted(atoms, lambda _, atom: texts.pop(atom[1].value))
offer("ZELStringInterface", NewStringAtom=("ut", new_atom), AddRef=("vu", hold_atom),
      GetCString=("pu", text_of), DeleteStringAtom=("vu", drop_atom))

# ---- Errors: references, message, component, number ----


def new_error(message, component, number, *_):
    error = next(handles)
    errors[error] = [1, new_atom(message), new_atom(component), number]
    return error


def failure(text):
    return new_error(text, b"PythonHost", 0)


CORE_ERRORS = [new_error(b"unknown error", b"DUX", 0), new_error(b"out of memory", b"DUX", 1)]
hold_error, drop_error = counted(errors, lambda _, error: [drop_atom(atom) for atom in error[1:3]])
offer("ZELErrorInterface", NewError=("pttiii", new_error), AddRef=("pp", hold_error),
      GetCoreError=("pi", lambda number: hold_error(CORE_ERRORS[number])), Release=("vp", drop_error),
      GetErrorMessage=("up", lambda error: errors[error][1]),
      GetComponent=("up", lambda error: errors[error][2]), GetID=("ip", lambda error: errors[error][3]))

# ---- Containers: the handle is the address of the primary record ----


class Instance(ctypes.Structure):
    _fields_ = [("name", ctypes.c_void_p), ("signature", ctypes.c_void_p), ("object", ctypes.c_void_p)]
    references, ending = 0, False


def publish(result, thing, implementation, destroy, interface, *_):
    instance = Instance(text_of(implementation), text_of(interface), thing)
    instance.atoms, instance.destroy = (hold_atom(implementation), hold_atom(interface)), destroy
    instances[ctypes.addressof(instance)] = instance
    store(result, ctypes.addressof(instance))


def hold(handle):
    if handle is None or instances[handle].ending:
        return 0
    instances[handle].references += 1
    return 1


def decrement(handle):
    instances[handle].references -= 1


def delete(handle):
    instance = instances[handle]
    if instance.references == 0 and not instance.ending:
        instance.ending = True
        prototype("vp")(instance.destroy)(instance.object)
        for atom in instances.pop(handle).atoms:
            drop_atom(atom)


def release(handle):
    if handle is not None and instances[handle].references > 0:
        decrement(handle)
        delete(handle)


def get_method(result, handle, method, kind, _):
    names = instances[handle].atoms[1], method, kind
    store(result, lookup(*(atoms[name][1].value for name in names)))


def get_object(result, handle, implementation):
    if handle is None or instances[handle].atoms[0] != implementation:
        return failure(b"no such implementation")
    return store(result, instances[handle].object)


offer("ZELContainerInterface", NewFullContainer=("pppupuiii", publish), AddRef=("ip", hold),
      DecrementWithoutDelete=("vp", decrement), DeleteUnownedContainer=("vp", delete),
      Release=("vp", release), GetMethod=("pppuui", get_method), NGetInstance=("pppu", get_object),
      GetOffsetToPrimaryInstance=("i", lambda: 0))

# ---- Shared buffers: references, bytes; the handle is the address of the bytes ----


def new_buffer(size, *_):
    block = alloc(size)
    if block:
        buffers[block] = [1, size]
    return block


hold_buffer, drop_buffer = counted(buffers, lambda block, _: free(block))
offer("ZELSharedBuffInterface", NewBuffer=("puiiii", new_buffer), AddRef=("vp", hold_buffer),
      Release=("vp", drop_buffer), GetBuffer=("pp", lambda buffer: buffer),
      GetSize=("up", lambda buffer: buffers[buffer][1]))

# ---- Streams ----

METHODS = {"Read": "ppppu", "Write": "pppu", "CreateIndependentlyRewindableStream": "ppp", "Rewind": "pp",
           "CreateIndependentlyPositionableStream": "ppp", "Mark": "ppp", "Seek": "ppuu"}
offer(STREAM, **{method: (
    signature, lambda handle, *rest, name=method: getattr(streams[instances[handle].object], name)(*rest))
                 for method, signature in METHODS.items()})


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

    def Mark(self, place):
        store(place, self.position, ctypes.c_uint32)

    def Seek(self, position, _=0):
        self.position = position

    Rewind = functools.partialmethod(Seek, 0)

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
    names = new_atom(b"PythonStreamImplementation"), new_atom(STREAM.encode())
    publish(result, key, names[0], END, names[1])
    for name in names:
        drop_atom(name)


def open_file(result, path, mode):
    file = pathlib.Path(path.decode())
    if b"r" in mode and not file.exists():
        return failure(b"no such file")
    return new_stream(result, Bytes(bytearray(file.read_bytes() if b"r" in mode else b""),
                                    None if mode.startswith(b"rb") and b"+" not in mode else file))


def open_client(result, client, *procedures):
    return new_stream(result, Client(client, procedures[:-1], procedures[-1]))


def open_memory(result):
    return new_stream(result, Bytes(bytearray()))


offer("ZELStreamFactoryInterface", NewPositionableMemoryStream=("pp", open_memory),
      NewPositionableFileStream=("pptt", open_file),
      NewClientPositionableStream=("p" * 11, open_client))

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
    open_memory(ctypes.addressof(place))
    stream = place.value
    for handle in value, streamer, stream:
        assert hold(handle)
    assert call(b"POSStreamerInterface", b"Serialize", b"POSStreamerSerializeProc", "ipppt",
                streamer, stream, value, None)
    streams[instances[stream].object].Rewind()
    again = call(b"POSStreamerInterface", b"Deserialize", b"POSStreamerDeserializeProc", "ppp", streamer, stream)
    assert hold(again)
    assert call(b"POSObjectInterface", b"IsEqual", b"POSObjectIsEqualProc", "bpp", value, again)
    for handle in value, streamer, stream, again:
        release(handle)
    library.ZELUtilsTerminate()
    for error in CORE_ERRORS:
        drop_error(error)
    left = [len(things) for things in (blocks, atoms, errors, instances, buffers, streams,
                                       [key for key in registered if key[0] not in CORE])]
    print("left:", sum(left) and left)
    return 1 if sum(left) else 0


sys.exit(main())
