#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Submits one input file to Taskmill and waits until its job has ended.

Usage: example_client.py FILE [JOB_TYPE [QUEUE]]
"""
import os
import socket
import sys

HOST = "127.0.0.1"
PORTS = (int(os.environ.get("TASKMILL_CONSOLE_PORT", 27642)),
         int(os.environ.get("TASKMILL_GUI_PORT", 27641)))


def connect():
    """The manager on a console, else the one with a window."""
    for port in PORTS:
        try:
            return socket.create_connection((HOST, port), timeout=5)
        except OSError:
            pass
    sys.exit("No manager answers. Is Taskmill running?")


def read_all(connection):
    data = b""
    while piece := connection.recv(4096):
        data += piece
    return data.decode("utf-8", "replace")


def submit(lines):
    """Sends a request and returns the numbers of the jobs it made."""
    with connect() as manager:
        # The user of the window may have to confirm the job first.
        manager.settimeout(None)
        message = "\n".join(lines) + "\nclientreply=yes\n"
        manager.sendall(message.encode("utf-8"))
        first_line = read_all(manager).partition("\n")[0]
    word, _, rest = first_line.partition("=")
    if word != "accepted":
        sys.exit("Refused: " + (rest or "no answer"))
    return rest.split()


def main():
    if not 2 <= len(sys.argv) <= 4:
        sys.exit(__doc__)
    path = os.path.abspath(sys.argv[1])
    job_type = sys.argv[2] if len(sys.argv) > 2 else "Auto"
    queue = sys.argv[3] if len(sys.argv) > 3 else "Auto"

    # Listen before asking: a short job may have ended before the answer is read.
    with socket.create_server((HOST, 0)) as listener:
        numbers = submit([
            "clientname=example_client.py",
            "clientappname=example_client",
            "clientaddress=" + HOST,
            "clientport=%d" % listener.getsockname()[1],
            "clientnotification=1",
            "action=submitjob",
            "jobtypename=" + job_type,
            "jobqueue=" + queue,
            "jobinputfile=" + path,
        ])
        print("Job", *numbers, "was accepted")

        statuses = []
        for _ in numbers:
            connection, _ = listener.accept()
            with connection:
                message = read_all(connection)
            told = dict(line.partition("=")[::2] for line in message.split("\n"))
            statuses.append(told["jobstatus"])
            print(told["jobinputfile"], told["jobstatus"])
            if told["joboutputfile"]:
                print("Output file:", told["joboutputfile"])
    return 0 if all(status == "completed" for status in statuses) else 1


if __name__ == "__main__":
    sys.exit(main())
