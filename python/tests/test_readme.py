"""The examples of the README do what it says."""

import doctest
import re
from pathlib import Path

README = Path(__file__).resolve().parents[1] / "README.md"


def test_examples_print_what_is_shown():
    blocks = re.findall(r"^```python\n(.*?)^```$", README.read_text(encoding="utf-8"), re.DOTALL | re.MULTILINE)
    assert len(blocks) > 5
    # One text, so that later blocks know the names of earlier ones.
    examples = doctest.DocTestParser().get_doctest("\n".join(blocks), {}, "README.md", str(README), 0)
    printed = []
    result = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS).run(examples, out=printed.append)
    assert result.failed == 0, "".join(printed)
    assert result.attempted > 15
