"""The reference documentation, the header and the export catalogue name the
same things: every export, every code of NqeErrorCode and every CalibParam
constant is documented in the header and mentioned in some docs/ page, and
no page or header comment names an export, code or parameter that does not
exist. A code or parameter written with its number carries the right one.
Pages quote their example files verbatim ("see examples/<name>.c"), the
index links every page and no link points nowhere.

  check_docs.py HEADER CATALOGUE DOCS_DIR [EXTRA_PAGE ...]
Prints one line per difference and exits 1 when there is any."""
import pathlib
import re
import sys

COMMENT = re.compile(r"/\*.*?\*/|//[^\n]*", re.S)
BLOCK = re.compile(r"see (examples/(\w+)\.c)[^\n]*\n+```c\n(.*?)```", re.S)
EXPORTISH = re.compile(r"\b(?:Calib[A-Z]|Kvx[A-Z]|GetDevice|Nqe[A-Z])\w*")


def header_parts(text):
    comments = COMMENT.findall(text)
    code = COMMENT.sub(" ", text)
    enum = re.search(r"enum NqeErrorCode \{(.*?)\};", text, re.S).group(1)
    codes = {}
    undocumented = []
    for line in enum.splitlines():
        m = re.match(r"\s*(Nqe\w+)\s*=\s*(\d+)", line)
        if m:
            codes[m.group(1)] = int(m.group(2))
            if "/*" not in line:
                undocumented.append(m.group(1))
    params = {}
    for line in text.splitlines():
        m = re.search(r"\b(CalibParam\w+)\s*=\s*(\d+)|#define\s+(CalibParam\w+)\s+\(?(\d+)", line)
        if m:
            params[m.group(1) or m.group(3)] = int(m.group(2) or m.group(4))
            if "/*" not in line and "//" not in line:
                undocumented.append(m.group(1) or m.group(3))
    # An export is documented when a comment precedes its declaration, or
    # precedes a run of declarations it belongs to; a banner does not count.
    declared, doc = {}, False
    for token in re.split(r"(/\*.*?\*/)", text, flags=re.S):
        if token.startswith("/*"):
            doc = not token.startswith("/* ---")
            continue
        for stmt in token.split(";"):
            m = re.search(r"KVX_CALL\s+(\w+)\s*\(", stmt)
            if m:
                declared[m.group(1)] = doc
            elif stmt.strip():
                doc = False
    return codes, params, declared, undocumented, set(re.findall(r"\w+", code)), "\n".join(comments)


def main(header, catalogue, docs_dir, *extra):
    codes, params, declared, undocumented, idents, comments = header_parts(pathlib.Path(header).read_text())
    exports = {}
    for line in pathlib.Path(catalogue).read_text().splitlines():
        f = line.split()
        if f and not f[0].startswith("#"):
            exports[f[3]] = f[2]
    docs = pathlib.Path(docs_dir)
    pages = {p: p.read_text() for p in sorted(docs.glob("*.md")) + [pathlib.Path(e) for e in extra]}
    alltext = "\n".join(pages.values())
    mentioned = set(EXPORTISH.findall(alltext))
    errors = []
    for name, status in exports.items():
        if name not in declared and status == "built":
            errors.append(f"{name}: built but not declared in the header")
        if name not in mentioned:
            errors.append(f"{name}: in the catalogue, in no docs page")
    for name, documented in declared.items():
        if name not in exports:
            errors.append(f"{name}: declared in the header, not in the catalogue")
        elif not documented:
            errors.append(f"{name}: declared without a doc comment")
    errors += [f"{n}: no comment beside it in the header" for n in undocumented]
    errors += [f"{n}: a code of the header, in no docs page" for n in codes if n not in mentioned]
    if params:
        errors += [f"{n}: a parameter of the header, in no docs page" for n in params if n not in mentioned]
    else:
        print("note: the header defines no CalibParam constants yet; parameter names not checked")
    known = set(exports) | idents | {"NqeErrorCode"}
    for where, text in [(str(p), t) for p, t in pages.items()] + [(header + " comments", comments)]:
        for name in sorted(set(EXPORTISH.findall(text)) - known):
            if params or not name.startswith("CalibParam"):
                errors.append(f"{where}: {name} is no export, code or name of the header")
        for name, num in re.findall(r"`(Nqe\w+)` \((\d+)\)", text):
            if name in codes and codes[name] != int(num):
                errors.append(f"{where}: {name} written as {num}, it is {codes[name]}")
        for num, name in re.findall(r"\|\s*(\d+)\s*\|\s*`(CalibParam\w+)`", text):
            if name in params and params[name] != int(num):
                errors.append(f"{where}: {name} written as {num}, it is {params[name]}")
    quoted = set()
    for page, text in pages.items():
        for rel, stem, body in BLOCK.findall(text):
            quoted.add(stem)
            path = docs / rel
            if not path.exists() or path.read_text() != body:
                errors.append(f"{page}: the block after 'see {rel}' differs from the file")
    for path in sorted((docs / "examples").glob("*.c")):
        if path.stem not in quoted:
            errors.append(f"{path}: quoted by no page")
        if f"int example_{path.stem}(void)" not in path.read_text():
            errors.append(f"{path}: defines no int example_{path.stem}(void)")
    index = (docs / "README.md").read_text()
    errors += [f"{p.name}: not linked from docs/README.md" for p in pages
               if p.parent == docs and p.name != "README.md" and f"({p.name})" not in index]
    errors += [f"{p}: links to {link}, which does not exist" for p, t in pages.items()
               for link in re.findall(r"\]\(([\w-]+\.md)\)", t) if not (docs / link).exists()]
    for e in errors:
        print(e)
    print(f"{len(exports)} exports, {len(codes)} codes, {len(params)} parameters, "
          f"{len(pages)} pages: {len(errors)} differences")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
