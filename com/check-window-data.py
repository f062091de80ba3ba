#!/usr/bin/env python3
"""Window data in the add-in's sources is stored pointer-sized.

What a window keeps for us (its procedure, the object it belongs to, a dialog's
result) is a pointer: on x86_64 only the ...LongPtr calls, the GWLP_/DWLP_/GCLP_
indexes and LONG_PTR hold it, while on i686 (the product) everything is 32 bits, so
a slip builds and works there and truncates on x86_64, or the other way round. A
procedure stored through a cast is not type-checked by the compiler, so its
calling convention is checked here: on i686 the system calls it stdcall.

Usage: check-window-data.py SOURCE_ROOT
Prints every finding as file:line: what, and exits 1 when there is any.
"""
import pathlib
import re
import sys

# The folders whose code goes into the DLL (tests are not product code).
PRODUCT_FOLDERS = ["automation", "ui", "host", "display", "sms", "win32", "com"]

INT32 = r"(?:LONG|ULONG|DWORD|UINT|INT|BOOL|int|long|unsigned(?:\s+(?:int|long))?|u?int32_t)"
POINTER_SIZED = r"(?:LONG_PTR|ULONG_PTR|INT_PTR|UINT_PTR|DWORD_PTR|intptr_t|uintptr_t|WPARAM|LPARAM|LRESULT)"

RULES = [
    (re.compile(r"\b(?:Set|Get)(?:Window|Class)Long[AW]?\s*\("),
     "window data through the 32-bit call; use the ...LongPtr one"),
    (re.compile(r"\b(?:GWL_(?:WNDPROC|HINSTANCE|HWNDPARENT|USERDATA)|DWL_(?:MSGRESULT|DLGPROC|USER)|"
                r"GCL_(?:WNDPROC|MENUNAME|HBRBACKGROUND|HCURSOR|HICON|HICONSM|HMODULE))\b"),
     "a pointer-valued index under its 32-bit name; use the GWLP_/DWLP_/GCLP_ one"),
    (re.compile(r"\breinterpret_cast\s*<\s*(?:const\s+)?" + INT32 + r"\s*>"),
     "a pointer cast to a 32-bit integer"),
    (re.compile(r"\bstatic_cast\s*<\s*" + INT32 + r"\s*>\s*\(\s*(?:reinterpret_cast|\(\s*" + POINTER_SIZED + r"\s*\))"),
     "a pointer narrowed to 32 bits through a pointer-sized integer"),
    (re.compile(r"\(\s*" + INT32 + r"\s*\)\s*(?:\(\s*" + POINTER_SIZED + r"\s*\)|&\s*\w|this\b|reinterpret_cast)"),
     "a pointer cast to a 32-bit integer (C-style)"),
    (re.compile(r"\bstatic_cast\s*<\s*" + INT32 + r"\s*>\s*\(\s*(?:Get|Set)(?:Window|Class)LongPtr[AW]?\s*\("
                r"[^;]*?\b(?:GWLP|DWLP|GCLP)_"),
     "pointer-valued window data narrowed to 32 bits"),
]

# A procedure handed to the system through a cast, where the compiler checks nothing:
# SetWindowLongPtr(hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Class::proc)).
STORED_PROC = re.compile(
    r"\bSet(?:Window|Class)LongPtr[AW]?\s*\([^;]*?\b(?:GWLP_WNDPROC|GCLP_WNDPROC|DWLP_DLGPROC)\s*,\s*"
    r"reinterpret_cast\s*<\s*LONG_PTR\s*>\s*\(\s*&?\s*((?:\w+::)*\w+)\s*\)")
CONVENTION = r"\b(?:CALLBACK|WINAPI|APIENTRY|__stdcall)\b"


def strip_comments_and_strings(text):
    """Blanks comments and string and character literals, keeping line numbers."""
    def blank(m):
        return re.sub(r"[^\n]", " ", m.group(0))
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|u8?"(?:\\.|[^"\\\n])*"|[uUL]?"(?:\\.|[^"\\\n])*"|'
                         r"[uUL]?'(?:\\.|[^'\\\n])*'", re.S)
    return pattern.sub(blank, text)


def line_of(text, pos):
    return text.count("\n", 0, pos) + 1


def declared_with_convention(name, sources):
    """Whether the function 'name' (possibly Class::function) is declared or defined
    with the system's calling convention in any product source."""
    parts = name.split("::")
    function = parts[-1]
    owner = parts[-2] if len(parts) > 1 else None
    for text in sources.values():
        if owner:
            # The definition outside the class: "LRESULT CALLBACK Owner::function(".
            if re.search(CONVENTION + r"[^;{}()]*\b" + owner + r"::" + function + r"\s*\(", text):
                return True
            # The declaration inside the class body.
            for m in re.finditer(r"\b(?:class|struct)\s+" + owner + r"\b[^;{]*\{", text):
                body_end = text.find("\n};", m.end())
                body = text[m.end():body_end if body_end >= 0 else len(text)]
                if re.search(CONVENTION + r"\s+" + function + r"\s*\(", body):
                    return True
        elif re.search(CONVENTION + r"\s+" + function + r"\s*\(", text):
            return True
    return False


def held_in_procedure_type(name, sources):
    """Whether 'name' is a variable of WNDPROC or DLGPROC type (the system's own
    pointer types, which carry the calling convention)."""
    variable = name.split("::")[-1]
    return any(re.search(r"\b(?:WNDPROC|DLGPROC)\s+" + variable + r"\b\s*(?:=|;|\{)", t) for t in sources.values())


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    root = pathlib.Path(sys.argv[1])
    sources = {}
    for folder in PRODUCT_FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".cpp", ".h") or "tests" in path.relative_to(root).parts:
                continue
            sources[path.relative_to(root).as_posix()] = strip_comments_and_strings(
                path.read_text(encoding="utf-8"))
    if not sources:
        print(f"FAIL: no product sources under {root}")
        return 1

    findings = []
    for name, text in sources.items():
        for rule, what in RULES:
            for m in rule.finditer(text):
                findings.append(f"{name}:{line_of(text, m.start())}: {what}: {' '.join(m.group(0).split())}")
        for m in STORED_PROC.finditer(text):
            # A variable of the system's procedure type carries the convention in its type.
            if held_in_procedure_type(m.group(1), sources):
                continue
            if not declared_with_convention(m.group(1), sources):
                findings.append(f"{name}:{line_of(text, m.start())}: {m.group(1)} is stored as a window's "
                                "procedure but not declared CALLBACK")

    stored = sum(len(STORED_PROC.findall(t)) for t in sources.values())
    for f in findings:
        print("FAIL:", f)
    print(f"{len(sources)} product sources, {stored} procedures stored through a cast, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
