"""Compares the declarations of a page's C# program with the headers, as the given compiler lays them out:
csharp_declarations.py PAGE HEADERS SCRATCH COMPILER... No runtime for 32-bit Windows can be had from Debian,
so there this takes the place of running it: each member's offset and size, each function's result,
parameters and convention."""
import pathlib
import re
import subprocess
import sys

page, headers, scratch = map(pathlib.Path, sys.argv[1:4])
text = re.search(r"^```csharp .*?\n(.*?)^```$", page.read_text(encoding="utf-8"), re.M | re.S)[1]
TYPES = {"uint": "uint32_t", "ushort": "uint16_t", "byte": "uint8_t", "double": "double", "IntPtr": "void*",
         "UIntPtr": "size_t", "void": "void"}
STRUCTURES = {"Input": "tavo_input", "Records": "tavo_records", "Point": "TVO_PointRecord"}
BEGINNING = {"Point"}  # not all of its members are declared
HEAD = """#include <array>
#include <cstddef>
#include <tavo/survey.hpp>
#include <tavo/tavo.h>
// A type's size, and whether it is an address.
template <class T> constexpr size_t shape = sizeof(T) * 2 + std::is_pointer_v<T>;
template <> constexpr size_t shape<void> = 0;
// Takes functions of C's own convention alone.
template <class R, class... A> constexpr std::array<size_t, 1 + sizeof...(A)> shapes(R (*)(A...)) {
  return {shape<R>, shape<A>...};
}
"""


def structure(name, pack, body):
    """The structure as C# lays it out, and what its members are in the header."""
    members, checks, known = [], [], STRUCTURES[name]
    for array, kind, names in re.findall(r"(?:\[.*SizeConst = (\d+)\)\] )?public (\S+) ([^;]+);", body):
        for member in filter(None, names.split(", ")):
            members.append(f"  {TYPES[kind.removesuffix('[]')]} {member}{f'[{array}]' if array else ''};")
            real = member.lower() if known.startswith("tavo_") else member
            checks += [f"static_assert(offsetof(Own{name}, {member}) == offsetof({known}, {real}));",
                       f"static_assert(sizeof(Own{name}::{member}) == sizeof({known}::{real}));"]
    if name not in BEGINNING:
        checks.append(f"static_assert(sizeof(Own{name}) == sizeof({known}));")
    begin, end = (f"#pragma pack(push, {pack})\n", "#pragma pack(pop)\n") if pack else ("", "")
    return f"{begin}struct Own{name} {{\n" + "\n".join(members) + f"\n}};\n{end}" + "\n".join(checks) + "\n"


def function(convention, result, name, parameters):
    kinds = [words.split()[:-1] for words in parameters.split(", ")]
    shapes = [result] + ["IntPtr" if words[0] in ("out", "ref") else words[0] for words in kinds]
    assert convention == "Cdecl", convention
    wanted = ", ".join(f"shape<{TYPES[kind]}>" for kind in shapes)
    return f"static_assert(shapes(&{name}) == std::array<size_t, {len(shapes)}>{{{wanted}}});\n"


found = re.findall(r"\[StructLayout\(LayoutKind.Sequential(?:, Pack = (\d))?\)\]\s+public struct (\w+) \{(.*?)\n  \}",
                   text, re.S)
functions = re.findall(r"CallingConvention = (\w+)\)\]\s+public static extern (\w+) (\w+)\(([^)]*)\)", text)
assert len(found) == len(STRUCTURES) and len(functions) == text.count("DllImport(") > 3, (found, functions)
source = HEAD + "".join(structure(name, pack, body) for pack, name, body in found)
source += "".join(function(*one) for one in functions)
source += f"static_assert({re.search(r'const uint Points = (.*);', text)[1]} == TVO_RECORD_POINTS);\n"
scratch.mkdir(parents=True, exist_ok=True)
(scratch / "declarations.cpp").write_text(source, encoding="utf-8")
done = subprocess.run([*sys.argv[4:], "-std=c++20", "-fsyntax-only", f"-I{headers}", scratch / "declarations.cpp"])
print(f"{len(found)} structures, {len(functions)} functions")
sys.exit(done.returncode)
