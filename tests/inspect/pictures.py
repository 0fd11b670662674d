#!/usr/bin/env python3
"""The README shows what is: the tree of the classes, who calls whom in the demonstration, and its file.

usage: pictures.py ZTINSPECT NETWORK PLUGIN DATA_FILE [--update]    --update: draws the pictures anew, with Graphviz
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
TEXT = "{http://www.w3.org/2000/svg}text"


def output_of(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


def run_demonstration(ztinspect, network, plugin, data):
    """The report of its objects when its tree is read, their graph, and the dump of its file."""
    with tempfile.TemporaryDirectory() as folder:
        output_of(network, "store", data, "network.bin", "network.txt", cwd=folder, stderr=subprocess.DEVNULL,
                  env={**os.environ, "ZENTOVA_TRACK": "1"})
        dump = subprocess.run([ztinspect, "dump", "--no-end", "--load", plugin, "network.bin"], cwd=folder,
                              stdout=subprocess.PIPE, text=True, check=True).stdout
        live = pathlib.Path(folder, "network.live").read_text()
        return live, output_of(ztinspect, "graph", "network.live", cwd=folder), dump


def without_identifiers(dump):
    """Every run draws its own."""
    return re.sub(r"(uid|parentUid) = -?\d+$", r"\1", dump, flags=re.M | re.I)


def shows(readme, dump):
    """Whether the README has the beginning of a dump."""
    block = re.search(r"^\$ ztinspect dump [^\n]*\n(.*?)^```$", readme, re.M | re.S)
    if not block or block[1].count("\n") < 10:
        return False
    return without_identifiers(dump).startswith(without_identifiers(block[1]))


def without_numbers(report):
    """Who made an object depends on the compiler; sizes and numbers on what the library makes inside."""
    return re.sub(r"(made by).*|[#\d]+|  +", r"\1", report)


def shows_report(readme, report):
    """Whether the README has the beginning of a report, and what it says of one object."""
    block = re.search(r"^\$ head -n 6 network.live\n(.*?)^\$ [^\n]*\n(.*?)^```$", readme, re.M | re.S)
    if not block or block[2].count("\n") != 5:
        return False
    known = without_numbers(report)
    classes = {line.split()[2] for line in block[1].splitlines()[3:]}
    return (all(re.search(rf"^ +\d+ +\d+  {name} ", report, re.M) for name in classes) and len(classes) == 3
            and without_numbers(block[2]) in known)


def plain(texts):
    """Without the numbers of objects, which change with what the library makes inside them."""
    return sorted(text for text in texts if not re.fullmatch(r"#[\d.]+", text))


def texts_of_graph(graph):
    """What stands in the boxes and beside the lines."""
    for line in graph.splitlines():
        quoted = re.findall(r'"((?:[^"\\]|\\.)*)"', line)
        if "label=" in line:
            quoted = quoted[-1:]
        elif "->" in line or not line.endswith('";'):
            continue
        for text in quoted:
            for part in text.split("\\n"):
                yield re.sub(r"\\(.)", r"\1", part)


def texts_of_picture(path):
    return [element.text.strip() for element in xml.etree.ElementTree.parse(path).iter(TEXT)]


def main():
    ztinspect, network, plugin, data = map(os.path.abspath, sys.argv[1:5])
    live, connections, dump = run_demonstration(ztinspect, network, plugin, data)
    graphs = {"classes.svg": output_of(ztinspect, "classes", "--dot"), "connections.svg": connections}
    problems = [] if shows((ROOT / "README.md").read_text(), dump) else ["README.md shows another dump"]
    if not shows_report((ROOT / "README.md").read_text(), live):
        problems.append("README.md shows another report")
    for name, graph in graphs.items():
        path = ROOT / "docs" / name
        if "--update" in sys.argv:
            output_of("dot", "-Tsvg", "-o", str(path), input=graph)
        if plain(texts_of_picture(path)) != plain(texts_of_graph(graph)):
            problems.append(f"docs/{name} does not show what is: pictures.py --update")
    if problems:
        sys.exit("\n".join(problems))
    print(f"{len(graphs)} pictures, {sum(len(plain(texts_of_graph(graph))) for graph in graphs.values())} texts")


if __name__ == "__main__":
    main()
