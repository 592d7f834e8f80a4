"""The walk through docs/python.md: every line of it is run, and prints what it says there."""

import doctest
import re

import made
import zel


def test_page(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    zel.use(None)
    (tmp_path / "orders.zel").write_bytes(made.run("encode", given=(made.ROOT / "examples" / "orders.jsonl").read_bytes()))
    (tmp_path / "sample.json").write_bytes((made.ROOT / "zeldata" / "sample.json").read_bytes())
    page = re.sub(r"^```.*$", "", (made.ROOT / "docs" / "python.md").read_text(), flags=re.MULTILINE)
    walk = doctest.DocTestParser().get_doctest(page, {}, "python.md", "docs/python.md", 0)
    outcome = doctest.DocTestRunner().run(walk)
    zel.use(None)
    assert outcome.attempted > 30
    assert outcome.failed == 0
