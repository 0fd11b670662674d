#!/usr/bin/env python3
"""The pictures of the README show what is: the tree of the classes, and who calls whom in the demonstration.

usage: pictures.py ZTINSPECT NETWORK DATA_FILE [--update]    --update: draws them anew, with Graphviz
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


def live_objects(ztinspect, network, data):
    """The graph of the demonstration's objects when its tree is read."""
    with tempfile.TemporaryDirectory() as folder:
        output_of(network, "store", data, "network.bin", "network.txt", cwd=folder, stderr=subprocess.DEVNULL,
                  env={**os.environ, "ZENTOVA_TRACK": "1"})
        return output_of(ztinspect, "graph", "network.live", cwd=folder)


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
    ztinspect, network, data = map(os.path.abspath, sys.argv[1:4])
    graphs = {"classes.svg": output_of(ztinspect, "classes", "--dot"),
              "connections.svg": live_objects(ztinspect, network, data)}
    problems = []
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
