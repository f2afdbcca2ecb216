"""The Python module as a user of it meets it: values both ways, failures, batches."""
import os
import subprocess
import sys

import pytest

import lumbasic

RULE = """Sub Main
    total = price * qty%
    label$ = name$ + "!"
    If qty% = 7 Then
        total = total / (qty% - 7)
    End If
    While qty% = 99
        n% = n% + 1
    Wend
End Sub
"""


def test_values_go_in_and_come_back_typed():
    result = lumbasic.run(RULE, {"price": 2, "qty%": 3, "name$": "Tür"})
    assert result == {"price": 2.0, "qty%": 3, "name$": "Tür", "total": 6.0, "label$": "Tür!"}
    assert [type(result[k]) for k in ("price", "qty%", "label$")] == [float, int, str]
    assert lumbasic.run(RULE, {"qty%": 1}, fields=["total", "missing$"]) == {"total": 0.0, "missing$": None}
    for bad, error in [({"qty%": 1.5}, TypeError), ({"name$": 1}, TypeError), ({"qty%": 2**31}, TypeError),
                       ({"total sum": 1}, ValueError), ({"If": 1}, ValueError)]:
        with pytest.raises(error):
            lumbasic.run(RULE, bad)


def test_failures_raise_error_with_the_short_report():
    with pytest.raises(lumbasic.Error) as failed:
        lumbasic.run(RULE, {"qty%": 7}, name="rule.lbd")
    assert failed.value.report == "rule.lbd:5: Division durch Null.\n"
    with pytest.raises(lumbasic.Error, match="Grenze von 500 Anweisungen"):
        lumbasic.run(RULE, {"qty%": 99}, max_steps=500)
    with pytest.raises(lumbasic.Error, match=r"<source>:2:\d+: error"):
        lumbasic.compile("Sub Main\n  x = = 1\nEnd Sub\n")


def test_batch_keeps_order_and_puts_failures_in_place():
    image = lumbasic.compile(RULE, name="rule.lbd")
    records = [{"price": 1.5, "qty%": i % 10, "name$": str(i)} for i in range(3000)]
    results = lumbasic.batch(image, records, jobs=4, fields=["label$", "total"], max_steps=1000)
    assert len(results) == len(records)
    for i, result in enumerate(results):
        if i % 10 == 7:
            assert isinstance(result, lumbasic.Error) and result.record == i
            assert result.report.startswith("rule.lbd:5: Division durch Null.")
        else:
            assert result == {"label$": f"{i}!", "total": 1.5 * (i % 10)}
    runaway = lumbasic.batch(RULE, [{"qty%": 99}, {"qty%": 1}], jobs=2, max_steps=1000)
    assert isinstance(runaway[0], lumbasic.Error) and runaway[1]["total"] == 0.0


def test_dask_example_equals_the_command_line():
    pytest.importorskip("distributed")
    example = os.path.join(os.environ["LUM_SOURCE_DIR"], "examples", "dask", "price_rule.py")
    done = subprocess.run([sys.executable, example, "--check", os.environ["LUMBASIC"]], capture_output=True,
                          text=True, timeout=240)
    assert done.returncode == 0, done.stdout + done.stderr
    assert "records alike" in done.stdout
