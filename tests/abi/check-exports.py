#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares what the shared library exports with what the public headers declare, both ways, and with the reviewed list of names.

usage: check-exports.py [--update] LIBRARY INCLUDE_DIR LIST
--update writes LIST from the library; review the difference before committing it.
"""
import json
import subprocess
import sys

SONAME = "libtrx-ipmi.so.1"
ALLOWED_LIBRARIES = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1", "ld-linux-x86-64.so.2"}
CLANG = "clang++-14"
TABLES = ("vtable for ", "typeinfo for ", "typeinfo name for ")  # in the list; they come with a class's virtual functions


def output(*command, text=None):
    return subprocess.run(command, input=text, check=True, stdout=subprocess.PIPE, text=True).stdout


def names(symbols):
    """Readable names; a constructor or destructor has one, however many symbols it has."""
    text = output("c++filt", text="\n".join(symbols)).replace("[abi:cxx11]", "")
    text = text.replace("std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >", "std::string")
    return set(text.splitlines())


def exported(library):
    """Names of the library's exported symbols; the version node's own symbol is left out."""
    rows = [line.split() for line in output("nm", "-D", "--defined-only", library).splitlines()]
    return names(row[-1].split("@")[0] for row in rows if row[-2] != "A")


def declarations(include):
    """The library's namespace as clang sees it through the umbrella header: one tree for each time it is opened."""
    text = output(CLANG, "-x", "c++", "-std=c++17", "-fsyntax-only", "-I", include, "-Xclang", "-ast-dump=json",
                  "-Xclang", "-ast-dump-filter=Ipmi", "-", text='#include "ipmi/ipmi.h"\n')
    return json.loads("[" + text.replace("\n}\n{", "\n},{") + "]")


def is_inline(node):
    return bool(node.get("inline") or node.get("constexpr") or "explicitlyDefaulted" in node
                or any(i["kind"] == "CompoundStmt" for i in node.get("inner", [])))


def in_library(node):
    """Whether the headers promise that the library has this function or variable."""
    if node["kind"] == "VarDecl":
        return not is_inline(node) and node.get("storageClass") in ("static", "extern")
    pure = node.get("pure") and node["kind"] != "CXXDestructorDecl"
    return not (pure or node.get("isImplicit") or node.get("explicitlyDeleted") or is_inline(node))


def promises(nodes):
    """The symbols of functions and variables that must be exported."""
    for node in nodes:
        if node.get("kind") in ("NamespaceDecl", "LinkageSpecDecl", "CXXRecordDecl"):
            yield from promises(node.get("inner", []))
        elif "mangledName" in node and in_library(node):
            yield node["mangledName"]


def complain(title, wrong):
    if wrong:
        print("\n    ".join([title, *sorted(wrong)]))
    return bool(wrong)


def check_dynamic_section(library):
    rows = [line.split() for line in output("readelf", "-dW", library).splitlines()]
    sonames, needed = ({row[-1].strip("[]") for row in rows if kind in row} for kind in ("(SONAME)", "(NEEDED)"))
    wrong = complain(f"the soname is not {SONAME}:", sonames ^ {SONAME})
    return complain("the library needs more than the C and C++ runtimes:", needed - ALLOWED_LIBRARIES) or wrong


def main(arguments):
    update = "--update" in arguments
    library, include, list_file = [a for a in arguments if a != "--update"]
    actual, promised = exported(library), names(promises(declarations(include)))
    if update:
        with open(list_file, "w", encoding="utf-8") as out:
            out.write("\n".join(sorted(actual)) + "\n")
    with open(list_file, encoding="utf-8") as reviewed_file:
        reviewed = set(reviewed_file.read().splitlines())
    wrong = [complain("declared in a public header, not exported:", promised - actual),
             complain("exported, in no public header:", {n for n in actual - promised if not n.startswith(TABLES)}),
             complain(f"exported, not in {list_file}:", actual - reviewed),
             complain(f"in {list_file}, not exported:", reviewed - actual),
             check_dynamic_section(library)]
    print(f"{len(actual)} names exported")
    return 1 if any(wrong) or not actual else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
