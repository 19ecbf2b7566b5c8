#!/usr/bin/env python3
# Copyright (c) 2026 The glissa authors
# SPDX-License-Identifier: MIT
"""Each check of scripts/check refuses what it is there to refuse, and an empty tree."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

CHECK = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../scripts/check")
LICENCE = "// Copyright (c) 2026 The glissa authors\n// SPDX-License-Identifier: MIT\n"

GOOD = {
    "cmake/PublicHeaders.cmake": "set(A\n    corvekit/corvekit.h\n    corvekit/a.h)\nset(B\n"
                                 "    glissa/glissa.h\n    glissa/curve/b.h)\n",
    "corvekit/corvekit.h": LICENCE + '#pragma once\n\n#include "corvekit/a.h"\n',
    "corvekit/a.h": LICENCE + "#pragma once\n\n#include <cstdint>\n",
    "glissa/glissa.h": LICENCE + '#pragma once\n\n#include "glissa/curve/b.h"\n',
    "glissa/curve/b.h": LICENCE + '#pragma once\n\n#include "corvekit/a.h"\n\n'
                        "// Sums (curve/b.cpp)\n\nint Sum(int pLeft, int pRight);\n",
    "glissa/curve/b.cpp": LICENCE + '\n#include "glissa/curve/b.h"\n#include "glissa/curve/p.h"\n\n'
                          "int Sum(int pLeft, int pRight)\n{\n    return pLeft + pRight;\n}\n",
    "glissa/curve/p.h": LICENCE + "// Private: the parts of b.\n#pragma once\n",
    "glissa/curve/CMakeLists.txt": "target_sources(glissa PRIVATE b.cpp)\n",
    "examples/e.cpp": LICENCE + "\n// [snippet main]\nint main() {}\n// [end]\n",
    "examples/CMakeLists.txt": "glissa_add_example(e)\n",
    "README.md": "See [the list](cmake/PublicHeaders.cmake).\n\n"
                 "<!-- snippet examples/e.cpp main -->\n```cpp\nint main() {}\n```\n",
}

# check, what is changed in the good tree (None takes a file away), a part of the complaint
BAD = [
    ("includes", {"corvekit/a.h": LICENCE + '#pragma once\n#include "glissa/curve/b.h"\n'},
     "corvekit may not include glissa/curve/b.h"),
    ("includes", {"corvekit/a.h": LICENCE + '#pragma once\n#include "corvekit/z.h"\n',
                  "corvekit/z.h": LICENCE + '#pragma once\n#include "corvekit/a.h"\n'},
     "includes itself: corvekit/a.h -> corvekit/z.h -> corvekit/a.h"),
    ("includes", {"glissa/curve/b.cpp": LICENCE + '#include "b.h"\n'}, "is not a file of the tree"),
    ("includes", {"glissa/curve/b.cpp": LICENCE + "#include <fmt/core.h>\n"},
     "<fmt/core.h> is not of the standard library"),
    ("includes", {"glissa/curve/b.cpp": LICENCE + '#include "corvekit/corvekit.h"\n'}, "for hosts"),
    ("includes", {"glissa/other/c.cpp": LICENCE}, "not on the map"),
    ("headers", {"glissa/curve/c.h": LICENCE + "#pragma once\n"}, "neither private nor listed"),
    ("headers", {"corvekit/a.h": None}, "corvekit/a.h is not in the tree"),
    ("headers", {"corvekit/a.h": LICENCE + "// Private: no.\n"}, "private and listed"),
    ("headers", {"glissa/curve/b.h": LICENCE + '#pragma once\n#include "glissa/curve/p.h"\n'},
     "includes the private glissa/curve/p.h"),
    ("headers", {"glissa/glissa.h": LICENCE + "#pragma once\n"}, "does not include"),
    ("sources", {"glissa/curve/c.cpp": LICENCE}, "glissa/curve/c.cpp:1: no CMakeLists.txt"),
    ("sources", {"glissa/curve/sub_b.cpp": LICENCE}, "glissa/curve/sub_b.cpp:1: no CMakeLists.txt"),
    ("contents", {"glissa/curve/b.cpp": LICENCE, "glissa/curve/c.cpp": GOOD["glissa/curve/b.cpp"]},
     "glissa/curve/b.h:9: Sum is not defined in glissa/curve/b.cpp but in glissa/curve/c.cpp"),
    ("contents", {"glissa/curve/b.cpp": None}, "there is no glissa/curve/b.cpp"),
    ("licence", {"corvekit/a.h": "#pragma once\n"}, "corvekit/a.h:1: the two licence lines"),
    ("licence", {"scripts/x": "#!/bin/sh\n"}, "scripts/x:1: the two licence lines"),
    ("format", {"corvekit/a.h": LICENCE + "#pragma once\nint  f( );\n"}, "corvekit/a.h:4: differs"),
    ("docs", {"examples/e.cpp": LICENCE + "// [snippet main]\nint f();\n// [end]\n"}, "differs"),
    ("docs", {"examples/e.cpp": LICENCE}, "has no section [main]"),
    ("docs", {"README.md": GOOD["README.md"] + "\n```cpp\nint x;\n```\n"}, "not cut from"),
    ("docs", {"README.md": GOOD["README.md"] + "[a](docs/b.md)\n"}, "leads nowhere"),
    ("docs", {"docs/architecture.md": "`curve/b.h` and\n`curve/a.h`"}, ":2: there is no file"),
    ("docs", {"docs/architecture.md": "`Glissa::Lost`"}, ":1: the code has no Lost"),
    ("docs", {"docs/events.md": "| `eEventKey` | 0x20 | a key |"}, ":1: eEventKey is None in the code"),
    ("share", {"tests/a.cpp": "int x;\n" * 100}, "of test lines is above"),
]


class Checks(unittest.TestCase):
    def run_check(self, files, *names):
        with tempfile.TemporaryDirectory() as root:
            for name, text in files.items():
                if text is not None:
                    path = os.path.join(root, name)
                    os.makedirs(os.path.dirname(path), exist_ok=True)
                    with open(path, "w", encoding="utf-8") as file:
                        file.write(text)
            style = os.path.join(os.path.dirname(CHECK), "../.clang-format")
            shutil.copy(style, os.path.join(root, ".clang-format"))
            answer = subprocess.run([sys.executable, CHECK, "--root", root, *names],
                                    capture_output=True, text=True)
            return answer.returncode, answer.stdout + answer.stderr

    def test_a_sound_tree_passes(self):
        status, output = self.run_check(GOOD)
        self.assertEqual(0, status, output)

    def test_each_fault_is_found(self):
        formatter = shutil.which("clang-format-14") or shutil.which("clang-format")
        for check, changes, complaint in BAD:
            if check == "format" and not formatter:
                continue
            with self.subTest(check=check, complaint=complaint):
                status, output = self.run_check({**GOOD, **changes}, check)
                self.assertEqual(1, status, output)
                self.assertIn(complaint, output)

    def test_nothing_to_look_at_is_a_fault(self):
        for check in ("includes", "headers", "sources", "licence", "format", "docs", "share"):
            with self.subTest(check=check):
                status, output = self.run_check({"cmake/PublicHeaders.cmake": ""}, check)
                self.assertEqual(1, status, output)


if __name__ == "__main__":
    unittest.main()
