#!/bin/bash
# The public headers make pages without a warning, and every function in them states its threads, memory and errors.
set -euo pipefail
mkdir -p build
rm -rf build/docs
doxygen docs/doxygen/Doxyfile
python3 - build/docs/xml <<'END'
import glob, sys, xml.etree.ElementTree as tree
functions, lacking = set(), []
for file in glob.glob(sys.argv[1] + "/*.xml"):
    for member in tree.parse(file).iter("memberdef"):
        callback = member.get("kind") == "typedef" and member.findtext("argsstring", "").startswith(")(")
        if member.get("kind") != "function" and not callback:
            continue
        name = member.findtext("name")
        functions.add(member.get("id"))
        titles = {title.text for title in member.iter("title")}
        lacking += [f"{name}: {word}" for word in ("Threads", "Memory", "Errors") if word not in titles
                    and not (callback and word == "Errors")]
print(*lacking, sep="\n", end="\n" if lacking else "")
sys.exit(1 if lacking or len(functions) < 50 else 0)
END
