#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Submits calculations to a running Taskmill, waits for them and reads what they came to.

    import taskmill

    manager = taskmill.Manager()
    jobs = manager.submit("water.xyz", "methane.xyz", type="xtb Optimisation")
    for job in manager.wait(jobs):
        print(job["name"], job["status"], job["result"] and job["result"]["energies"][-1])

It asks the client taskmillctl, which must be in the search path, and needs nothing else. Jobs and results are
dictionaries with the keys that "taskmillctl --json" prints; the manual lists them.
"""
import json
import subprocess
import time

_SUCCESS = 0
_REFUSED = 4  # exit statuses of taskmillctl


class Error(Exception):
    """The request has failed; status is the exit status of taskmillctl."""

    def __init__(self, message, status):
        super().__init__(message)
        self.status = status


class TimedOut(Exception):
    """The jobs of these numbers have not ended in time. They go on."""

    def __init__(self, numbers):
        super().__init__("not ended in time: job " + ", ".join(map(str, numbers)))
        self.numbers = numbers


class Manager:
    """A running Taskmill: the one on a console, else the one with a window, unless one is chosen."""

    def __init__(self, choice=None, port=None, client="taskmillctl"):
        """choice is "console" or "gui"; port is that of its manager; client is the path of taskmillctl."""
        self._client = client
        self._options = (["--" + choice] if choice else []) + (["--port", str(port)] if port else [])

    def submit(self, *files, type=None, queue=None, name=None, input2=None, output=None, stdin=None,
               stdout=None, values=None):
        """Makes a job of each input file and returns their numbers.

        Without a type the extension of the file decides. queue is "long", "short" or "none". values are
        those of placeholders, such as {"@NPROCS": 4}. What the manager refuses raises Error; the jobs of the
        files before it are there.
        """
        options = []
        given = dict(type=type, queue=queue, name=name, input2=input2, output=output, stdin=stdin, stdout=stdout)
        for option, value in given.items():
            if value is not None:
                options += ["--" + option, str(value)]
        for placeholder, value in (values or {}).items():
            options += ["--set", f"{placeholder}={value}"]
        answers = self._run("submit", *self._options, *options, "--json", "--", *map(str, files), refusals=True)
        numbers = []
        for line in answers.splitlines():
            answer = json.loads(line)
            if "refused" in answer:
                raise Error(f"{answer['file']}: {answer['refused']}", _REFUSED)
            numbers += answer["accepted"]
        return numbers

    def list(self, which=None, since=None):
        """The jobs of a list ("long", "short", "queueless" or "finished"), or all; those beyond a number."""
        arguments = [which] if which else []
        if since is not None:
            arguments += ["--since", str(since)]
        return json.loads(self._run("list", *self._options, *arguments, "--json"))

    def job(self, number):
        """All that is known of one job, with its captured output."""
        return json.loads(self._run("job", *self._options, str(number), "--json"))

    def wait(self, numbers, timeout=None, interval=0.5):
        """Waits until the jobs have ended and returns them, in the order of the numbers.

        Raises TimedOut after so many seconds, and Error when a job was removed without having been run, or
        the manager has gone. The manager is asked anew after each interval, in seconds.
        """
        numbers = list(numbers)
        end = None if timeout is None else time.monotonic() + timeout
        while True:
            # One answer, so that no job is in between.
            jobs = {job["id"]: job for job in self.list(since=min(numbers) - 1)} if numbers else {}
            ended = {number: job for number, job in jobs.items() if job["list"] == "finished"}
            gone = [number for number in numbers if number not in jobs]
            if gone:
                raise Error("there is no job " + ", ".join(map(str, gone)), _REFUSED)
            running = [number for number in numbers if number not in ended]
            if not running:
                return [ended[number] for number in numbers]
            if end is not None and time.monotonic() >= end:
                raise TimedOut(running)
            time.sleep(interval)

    def kill(self, number):
        """Kills a running job, and returns when nothing of it is left."""
        self._run("kill", *self._options, str(number))

    def types(self):
        """The job types of the manager."""
        return json.loads(self._run("types", *self._options, "--json"))

    def results(self, *files):
        """What output files say of their calculations. No manager is needed."""
        return [json.loads(line) for line in self._run("result", "--json", "--", *map(str, files)).splitlines()]

    def _run(self, *arguments, refusals=False):
        run = subprocess.run([self._client, *arguments], stdin=subprocess.DEVNULL, capture_output=True,
                             encoding="utf-8", errors="replace", check=False)
        # A refusal is in the answer, too, where several files were submitted.
        if run.returncode == _SUCCESS or (refusals and run.returncode == _REFUSED and run.stdout):
            return run.stdout
        raise Error(run.stderr.strip().removeprefix("taskmillctl: ") or "taskmillctl has failed", run.returncode)
