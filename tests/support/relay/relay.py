"""Runs a program of this machine for one that runs under Wine, whose pipes do not reach here: relay.py PORT

Connects three times to PORT: the first connection says what to run (each word ends with a zero byte) and gets the exit
code, the second is the program's standard input and output, the third its standard error.
"""

import socket
import subprocess
import sys


def connect():
    return socket.create_connection(("127.0.0.1", int(sys.argv[1])))


control, data, errors = connect(), connect(), connect()
words = control.makefile("rb").read().split(b"\0")[:-1]
try:
    code = subprocess.run(words, stdin=data, stdout=data, stderr=errors).returncode
except OSError as error:
    errors.sendall(b"%s\n" % str(error).encode())
    code = 127
for connection in data, errors:
    connection.shutdown(socket.SHUT_WR)
control.sendall(b"%d" % code)
