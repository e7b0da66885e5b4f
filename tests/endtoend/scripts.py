# SPDX-License-Identifier: MIT
"""scripts.py TREE: has examples/taskmill.py work with the running manager, and holds what the client prints against its
schema. The manager has the job types Wait, whose jobs do not end, and Echo, and a paused long queue."""
import json
import pathlib
import subprocess
import sys

tree = pathlib.Path(sys.argv[1])
sys.path.insert(0, str(tree / "examples"))
sys.dont_write_bytecode = True
try:
    import jsonschema
except ImportError:
    sys.exit(77)
import taskmill  # noqa: E402

schema = json.loads((tree / "help/taskmillctl.schema.json").read_text(encoding="utf-8"))


def check(definition, value):
    jsonschema.validate(value, {**schema, "$ref": "#/$defs/" + definition},
                        cls=jsonschema.Draft202012Validator)
    return value


def client(definition, *arguments, lines=False):
    """Runs the client; each value that it prints must be as the schema says."""
    out = subprocess.run(["taskmillctl", *arguments, "--json"], stdout=subprocess.PIPE, check=False,
                         encoding="utf-8", stderr=subprocess.DEVNULL).stdout
    values = [json.loads(line) for line in out.splitlines()] if lines else [json.loads(out)]
    assert values, arguments
    for value in values:
        check(definition, value)
    return values


def fails(error, call):
    try:
        call()
    except error as raised:
        return raised
    raise AssertionError(f"{error} was not raised")


for name in ("a b.in", "c.in"):
    pathlib.Path(name).write_text("input\n", encoding="utf-8")

manager = taskmill.Manager("console")
numbers = manager.submit("a b.in", "c.in", type="Echo", queue="none", name="both", values={"@X": 1})
assert numbers == [1, 2], numbers
ended = manager.wait(numbers, timeout=30, interval=0.05)
assert [job["id"] for job in ended] == numbers
assert {job["status"] for job in ended} == {"Completed"} and ended[0]["name"] == "both"
assert manager.job(2)["output"].strip() == "done"
waiting = manager.submit("c.in", type="Wait", queue="long")
assert fails(taskmill.TimedOut, lambda: manager.wait(waiting, timeout=0)).numbers == [3]
assert fails(taskmill.Error, lambda: manager.submit("c.in", type="Nothing")).status == 4
assert fails(taskmill.Error, lambda: manager.submit("missing.in", type="Echo")).status == 2
assert fails(taskmill.Error, lambda: manager.kill(3)).status == 4
client("done", "unpause", "long")
while manager.job(3)["status"] != "Running":
    pass
client("done", "kill", "3")
assert manager.wait([3])[0]["status"] == "Killed"
assert [job["name"] for job in manager.types()] == ["Wait", "Echo"]
output = str(next((tree / "tests/engines/real").rglob("*.out")))
assert check("result", manager.results(output)[0])["file"] == output

client("list", "list")
client("types", "types")
client("job", "job", "1")
client("resources", "resources", str(tree / "examples/water.mop"), lines=True)
client("submit", "submit", "c.in", "--type", "Echo", "--queue", "none", "--wait", lines=True)
client("submit", "submit", "c.in", "--type", "Nothing", lines=True)
client("done", "limit", "short", "2")
client("done", "pause", "short")
client("done", "save")
client("types", "types", "list", "jobs.mill")
client("list", "jobs", "jobs.mill")
print("passed")
