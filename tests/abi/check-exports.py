#!/usr/bin/env python3
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


def output(*command, text=None):
    return subprocess.run(command, input=text, check=True, stdout=subprocess.PIPE, text=True).stdout


def exported(library):
    """Mangled names of the library's exported symbols; the version node's own symbol is left out."""
    rows = [line.split() for line in output("nm", "-D", "--defined-only", library).splitlines()]
    return {row[-1].split("@")[0] for row in rows if row[-2] != "A"}


def declarations(include):
    """The library's namespace as clang sees it through the umbrella header: one tree for each time it is opened."""
    text = output(CLANG, "-x", "c++", "-std=c++17", "-fsyntax-only", "-I", include, "-Xclang", "-ast-dump=json",
                  "-Xclang", "-ast-dump-filter=Ipmi", "-", text='#include "ipmi/ipmi.h"\n')
    decoder, position, end = json.JSONDecoder(), 0, len(text.rstrip())
    while position < end:
        tree, position = decoder.raw_decode(text, position)
        yield tree
        while position < end and text[position].isspace():
            position += 1


class Declared:
    """What the headers promise: `required` symbols must be exported, those in `allowed` may be."""

    def __init__(self, include):
        self.required, self.allowed, self.inline = set(), set(), set()
        for tree in declarations(include):
            self.visit(tree)
        self.required -= self.inline
        self.allowed = (self.allowed | self.required) - self.inline

    def visit(self, node):
        kind = node.get("kind")
        if kind in ("NamespaceDecl", "LinkageSpecDecl"):
            self.visit_children(node)
        elif kind == "CXXRecordDecl" and node.get("completeDefinition"):
            self.visit_children(node)
            self.class_data(node)
        elif kind in ("FunctionDecl", "CXXMethodDecl", "CXXConversionDecl", "CXXConstructorDecl", "CXXDestructorDecl"):
            self.function(node)
        elif kind == "VarDecl":
            self.variable(node)

    def visit_children(self, node):
        abstract = node.get("definitionData", {}).get("isAbstract", False)
        for child in node.get("inner", []):
            child["ofAbstract"] = abstract
            self.visit(child)

    def function(self, node):
        if node.get("isImplicit") or node.get("explicitlyDeleted"):
            return
        names = variants(node)
        if is_inline(node):
            self.inline.update(names)
        elif not node.get("pure") or node["kind"] == "CXXDestructorDecl":
            # A constructor or destructor of an abstract class is only called for a base object (C2, D2).
            first = 1 if node.get("ofAbstract") and len(names) > 1 else 0
            self.required.add(names[first])
            self.allowed.update(names)

    def variable(self, node):
        if node.get("inline") or node.get("constexpr") or node.get("storageClass") not in ("static", "extern"):
            return
        self.required.add(node["mangledName"])

    def class_data(self, node):
        if not node["definitionData"].get("isPolymorphic"):
            return
        encoded = next((i["mangledName"] for i in node["inner"] if i["kind"] == "CXXDestructorDecl"), None)
        if encoded is None:
            return
        name = encoded[len("_Z"):-len("D1Ev")] + "E"
        data = {prefix + name for prefix in ("_ZTV", "_ZTI", "_ZTS")}
        self.allowed |= data
        members = [i for i in node["inner"] if i.get("virtual")]
        if any(not i.get("pure") and not is_inline(i) for i in members):
            self.required |= data  # a key function puts them into the library


def is_inline(node):
    return bool(node.get("inline") or node.get("constexpr") or "explicitlyDefaulted" in node
                or any(i["kind"] == "CompoundStmt" for i in node.get("inner", [])))


def variants(node):
    """Symbols that one declaration may stand for, the complete-object one first."""
    name = node["mangledName"]
    if node["kind"] == "CXXConstructorDecl":
        return [name, name.replace("C1E", "C2E", 1)]
    if node["kind"] == "CXXDestructorDecl":
        stem = name[:-len("D1Ev")]
        return [stem + v for v in (("D1Ev", "D2Ev", "D0Ev") if node.get("virtual") else ("D1Ev", "D2Ev"))]
    return [name]


def readable(symbols):
    if not symbols:
        return []
    text = output("c++filt", text="\n".join(symbols) + "\n").replace("[abi:cxx11]", "")
    text = text.replace("std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >", "std::string")
    return sorted(set(text.splitlines()))


def complain(title, names):
    if names:
        print(title)
        for name in names:
            print("   ", name)
    return bool(names)


def check_dynamic_section(library):
    rows = [line.split() for line in output("readelf", "-dW", library).splitlines()]
    sonames, needed = ({row[-1].strip("[]") for row in rows if kind in row} for kind in ("(SONAME)", "(NEEDED)"))
    wrong = complain(f"the soname is not {SONAME}:", sonames ^ {SONAME})
    return complain("the library needs more than the C and C++ runtimes:", needed - ALLOWED_LIBRARIES) or wrong


def main(arguments):
    update = "--update" in arguments
    library, include, list_file = [a for a in arguments if a != "--update"]
    actual = exported(library)
    declared = Declared(include)
    wrong = complain("declared in a public header, not exported:", readable(declared.required - actual))
    wrong |= complain("exported, in no public header:", readable(actual - declared.allowed))
    wrong |= check_dynamic_section(library)

    names = readable(actual)
    if update:
        with open(list_file, "w", encoding="utf-8") as out:
            out.write("\n".join(names) + "\n")
    with open(list_file, encoding="utf-8") as reviewed_file:
        reviewed = reviewed_file.read().splitlines()
    wrong |= complain(f"exported, not in {list_file}:", sorted(set(names) - set(reviewed)))
    wrong |= complain(f"in {list_file}, not exported:", sorted(set(reviewed) - set(names)))
    print(f"{len(actual)} symbols, {len(names)} names exported")
    return 1 if wrong or not actual else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
