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


checked = set()  # the commands whose output was


def client(definition, *arguments, lines=False):
    """Runs the client; each value that it prints must be as the schema says."""
    checked.add(arguments[0])
    checked.add(" ".join(arguments[:2]))
    out = subprocess.run(["taskmillctl", *arguments, "--json"], stdout=subprocess.PIPE, check=False,
                         encoding="utf-8", stderr=subprocess.DEVNULL).stdout
    values = [json.loads(line) for line in out.splitlines()] if lines else [json.loads(out)]
    assert values, arguments
    for value in values:
        check(definition, value)
    return values


def commands():
    """Those that can print JSON."""
    def help_of(*words):
        return subprocess.run(["taskmillctl", *words, "--help"], stdout=subprocess.PIPE, check=True,
                              encoding="utf-8").stdout
    listed = help_of().split("Commands:\n")[1].split("\n\n")[0]
    names = [line[2:].split("  ")[0] for line in listed.splitlines() if line[2] != " "]
    names = [" ".join(word for word in name.split() if word.islower()) for name in names]
    return {name for name in names if "--json" in help_of(*name.split())}


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
for arguments in ((), ("cores", "3", "memory", "2000"), ("off",)):
    assert client("budget", "budget", *arguments)[0]["on"] == (len(arguments) > 1)
client("done", "quiet", "22:00-06:00")
client("done", "quiet", "off")
client("done", "priority", "low")
client("done", "priority", "normal")
client("done", "pause", "short")
numbers = manager.submit("a b.in", "c.in", type="Wait", queue="short")
client("done", "hold", *map(str, numbers))
client("done", "move", str(numbers[1]), "top")
held = client("list", "list", "short")[0]
assert {job["waitreason"] for job in held} != {""}, held
client("done", "release", *map(str, numbers))
client("done", "estimate", "short")
client("done", "remove", str(numbers[0]))
client("done", "save")
client("result", "result", output, lines=True)
client("types", "types", "list", "jobs.mill")
client("list", "jobs", "jobs.mill")
client("done", "quit")
missing = commands() - checked
assert not missing, missing
print("passed")
