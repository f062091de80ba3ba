#!/usr/bin/env python3
"""The type library a build embeds describes that build's binary.

Hosts and the system's IDispatch implementation call our dual interfaces through
what the library says: the platform it was made for, each method's vtable offset
and calling convention, the size of an interface pointer and of each enumeration.
Offsets and sizes are in bytes, so the i686 library (SYS_WIN32, 4-byte slots) and
the x86_64 one (SYS_WIN64, 8-byte slots) differ; a library made for the other
platform would send every late-bound call to the wrong slot.

Usage: check-typelib.py LIBRARY.tlb POINTER_BYTES
Reads the library's binary (MSFT) form and exits 1 on any disagreement.
"""
import struct
import sys

SYSKIND = {4: 1, 8: 3}             # SYS_WIN32, SYS_WIN64
TKIND_ENUM, TKIND_INTERFACE, TKIND_DISPATCH, TKIND_COCLASS = 0, 3, 4, 5
CC_STDCALL = 4
IDISPATCH_SLOTS = 7                # IUnknown's three and IDispatch's four
SEGMENTS = 15
HELP_DLL_FLAG = 0x100


def main():
    if len(sys.argv) != 3 or sys.argv[2] not in ("4", "8"):
        print(__doc__)
        return 2
    data = open(sys.argv[1], "rb").read()
    ptr = int(sys.argv[2])
    failures = []

    def fail(what):
        failures.append(what)

    if data[:4] != b"MSFT":
        print("FAIL: not a type library in its binary form")
        return 1
    varflags, = struct.unpack_from("<i", data, 0x14)
    count, = struct.unpack_from("<i", data, 0x20)
    if varflags & 0xF != SYSKIND[ptr]:
        fail(f"made for platform (SYSKIND) {varflags & 0xF}, not {SYSKIND[ptr]} for {ptr}-byte pointers")

    offset = 0x54 + (4 if varflags & HELP_DLL_FLAG else 0)
    info_offsets = struct.unpack_from(f"<{count}i", data, offset)
    offset += 4 * count
    segments = [struct.unpack_from("<4i", data, offset + 16 * i) for i in range(SEGMENTS)]
    info_segment, name_segment = segments[0][0], segments[7][0]

    kinds = {}
    for info_offset in info_offsets:
        (typekind, memoffset, *_rest) = struct.unpack_from("<19i", data, info_segment + info_offset)
        base = struct.unpack_from("<19i2h7i", data, info_segment + info_offset)
        elements, name_offset = base[6], base[13]
        implemented, vtable_bytes, size = base[19], base[20], base[21]
        kind, alignment = typekind & 0xF, (typekind >> 11) & 0x1F
        functions = elements & 0xFFFF
        name_at = name_segment + name_offset
        name = data[name_at + 12:name_at + 12 + data[name_at + 8]].decode("latin-1")
        kinds[kind] = kinds.get(kind, 0) + 1

        if kind == TKIND_ENUM:
            if size != 4 or alignment != 4:
                fail(f"{name}: an enumeration of {size} bytes aligned to {alignment}, not a 32-bit long")
        elif kind in (TKIND_INTERFACE, TKIND_DISPATCH):
            if size != ptr or alignment != ptr:
                fail(f"{name}: an interface pointer of {size} bytes aligned to {alignment}, not {ptr}")
            if implemented != 1 or vtable_bytes != (IDISPATCH_SLOTS + functions) * ptr:
                fail(f"{name}: a vtable of {vtable_bytes} bytes for {functions} methods after IDispatch's, "
                     f"not {(IDISPATCH_SLOTS + functions) * ptr}")
            record = memoffset + 4
            for k in range(functions):
                info, _type, _flags, slot_offset, _size, fkccic = struct.unpack_from("<iiihhi", data, record)
                expected = (IDISPATCH_SLOTS + k) * ptr
                if slot_offset & ~1 != expected:
                    fail(f"{name}: method {k + 1} at vtable offset {slot_offset & ~1}, not {expected}")
                if (fkccic >> 8) & 0xF != CC_STDCALL:
                    fail(f"{name}: method {k + 1} has calling convention {(fkccic >> 8) & 0xF}, not stdcall")
                record += info & 0xFFFF
        elif kind == TKIND_COCLASS:
            if size != ptr:
                fail(f"{name}: a class instance of {size} bytes, not {ptr}")

    if not kinds.get(TKIND_DISPATCH) and not kinds.get(TKIND_INTERFACE):
        fail("no interface found")
    for f in failures:
        print("FAIL:", f)
    print(f"{count} type descriptions ({kinds.get(TKIND_ENUM, 0)} enumerations, "
          f"{kinds.get(TKIND_DISPATCH, 0) + kinds.get(TKIND_INTERFACE, 0)} interfaces, "
          f"{kinds.get(TKIND_COCLASS, 0)} classes) for {ptr}-byte pointers: {len(failures)} disagreements")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
