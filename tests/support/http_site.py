"""Serves a folder over HTTP on a free port of 127.0.0.1, with faults where a test asks for them.

    python3 http_site.py FOLDER [CERTIFICATE KEY]

prints the port, then one line for each request, "/path" as it came. Ends when its standard input ends. A line of that input
is run by tuf_site.py, which serves files of its own, with faults of their own; "=" and the reason, if any, answers it. A
line that begins with "~" has the faults of every request from then on.

A file has an entity tag and a date, and a client may ask for the rest of it.

A path may begin with faults, "/~NAME=ARGUMENT/~NAME/rest/of/path":

    ~status=N       answer with this status and a short text instead of the file
    ~redirect=URL   send the client to URL (percent-encoded) followed by the rest; without URL to the rest alone
    ~circle         send the client to where it is
    ~cut=N          close the connection after N bytes of the whole answer, head included; +N for bytes of the body
    ~reset=N        the same, with a reset instead of an orderly end
    ~wait=MS        wait so long before that end
    ~pause=N        fall silent there; the connection stays open
    ~delay=MS       be so far away that a byte takes MS milliseconds each way; a new connection takes a round of its own
    ~rate=N         send N bytes a second
    ~leave=HOW      promise to keep the connection and do not: "now" closes it after the answer, "next" when the next
                    request has come, "middle" in the middle of reading that, "mute" reads it and never answers
    ~promise=N      promise N bytes more, or less when negative, than the body has
    ~unsized        promise no length; the end of the connection is the end of the body
    ~chunked        send the body in chunks of 1000 bytes
    ~trickle=MS     send the body byte by byte, one every MS milliseconds
    ~tag=TAG        the file has this entity tag; without TAG it has neither tag nor date
    ~noranges       send the whole where the rest is asked for
    ~shift=N        such a rest begins N bytes later than asked for
    ~wrong=TAG      such a rest is another file's: zeros, with this entity tag or, without TAG, the file's own
    ~fill=N         after the file send N bytes of zeros more, as part of the body
    ~endless        after the file send chunks of zeros as fast as they are taken, until the client goes
    ~garbage        answer with bytes that are not HTTP
"""

import email.utils
import hashlib
import os
import select
import socket
import socketserver
import ssl
import struct
import sys
import threading
import time
import urllib.parse


def tell(line):
    """At once: what threads print otherwise comes in pieces."""
    sys.stdout.write("%s\n" % line)
    sys.stdout.flush()


def split_faults(path):
    """What follows the faults, and the faults by name."""
    faults = {}
    while path.startswith("/~"):
        fault, _, rest = path[2:].partition("/")
        name, _, argument = fault.partition("=")
        faults[name] = argument
        path = "/" + rest
    return path, faults


def encoded(path):
    """The one form of a path: a slash that is part of a name stays apart from one between two."""
    return "/".join(urllib.parse.quote(urllib.parse.unquote(part), "") for part in path.split("/"))


class Handler(socketserver.StreamRequestHandler):
    def handle(self):
        try:
            if isinstance(self.connection, ssl.SSLSocket):
                self.connection.do_handshake()
            self.away = 2  # rounds until the next answer: the connection takes one
            while self.answer():
                self.away = 1
        except OSError:
            pass  # the client has gone

    def answer(self):
        """Answers one request; true when the connection can take another one."""
        request = self.rfile.readline().decode("latin-1").split()
        self.asked = {}
        for line in iter(self.rfile.readline, b""):
            name, colon, value = line.decode("latin-1").partition(":")
            if not colon:
                break
            self.asked[name.lower()] = value.strip()
        if len(request) < 2:
            return False
        tell(request[1])
        path, asked = split_faults(request[1].partition("?")[0])
        faults = dict(self.server.always, **asked)
        faults.update(split_faults("/%s/" % self.server.faults.get(encoded(path), ""))[1])
        time.sleep(2 * self.away * int(faults.get("delay", 0)) / 1000)
        if "garbage" in faults:
            self.wfile.write(b"\x00\xff this is not\nan answer\r\n\r\n")
            return False
        head, body = self.compose(path, faults)
        return self.send(head, body, faults) and not self.leave(faults.get("leave"))

    def leave(self, how):
        """Closes the connection in this way; false when it is to stay."""
        if how in ("next", "middle", "mute"):
            select.select([self.connection], [], [])
        if how in ("middle", "mute"):
            tell(self.rfile.readline().decode("latin-1").split(" ")[1])
        if how == "mute":
            self.rfile.read()
        return how

    def compose(self, path, faults):
        status, headers, body = self.find(path, faults)
        if "chunked" in faults or "endless" in faults:
            headers.append("Transfer-Encoding: chunked")
            pieces = [body[i:i + 1000] for i in range(0, len(body), 1000)] + [b""]
            body = b"".join(b"%x\r\n%s\r\n" % (len(piece), piece) for piece in pieces)
        elif "unsized" not in faults:
            headers.append("Content-Length: %d" % (len(body) + int(faults.get("promise", 0))))
        return "\r\n".join(["HTTP/1.1 " + status] + headers + ["", ""]).encode("latin-1"), body

    def find(self, path, faults):
        if "circle" in faults:
            return "302 Found", ["Location: /~circle" + path], b""
        if "redirect" in faults:
            return "302 Found", ["Location: " + urllib.parse.unquote(faults["redirect"]) + path], b"elsewhere"
        if "status" in faults:
            return faults["status"] + " By Request", [], b"no file"
        body = self.read(path)
        if body is None:
            return "404 Not Found", [], b"no such file"
        body += bytes(int(faults.get("fill", 0)))
        return self.take_range(body, self.validators(path, body, faults), faults)

    def read(self, path):
        if encoded(path) in self.server.made:
            return self.server.made[encoded(path)]
        name = self.place(path)
        if not os.path.isfile(name):
            return None
        with open(name, "rb") as file:
            return file.read()

    def place(self, path):
        return os.path.join(self.server.folder, os.path.normpath(urllib.parse.unquote(path)).lstrip("/"))

    def validators(self, path, body, faults):
        if faults.get("tag") == "":
            return []
        name = self.place(path)
        date = email.utils.formatdate(os.path.getmtime(name) if os.path.isfile(name) else 0, usegmt=True)
        return ['ETag: "%s"' % faults.get("tag", hashlib.sha1(body).hexdigest()[:16]), "Last-Modified: " + date]

    def take_range(self, body, validators, faults):
        start = self.asked.get("range", "").partition("=")[2].partition("-")[0]
        condition = self.asked.get("if-range")
        holds = not condition or any(line.endswith(": " + condition) for line in validators)
        if not start or not holds or "noranges" in faults:
            return "200 OK", validators, body
        start = int(start) + int(faults.get("shift", 0))
        if start >= len(body):
            return "416 Range Not Satisfiable", [], b"no such part"
        place = "Content-Range: bytes %d-%d/%d" % (start, len(body) - 1, len(body))
        if "wrong" in faults:
            body = bytes(len(body))
            validators = ['ETag: "%s"' % faults["wrong"]] if faults["wrong"] else validators
        return "206 Partial Content", validators + [place], body[start:]

    def send(self, head, body, faults):
        if "endless" in faults:
            self.wfile.write(head + body[:-len(b"0\r\n\r\n")])
            piece = b"10000\r\n" + bytes(0x10000) + b"\r\n"
            while True:
                self.wfile.write(piece)
        if "trickle" in faults:
            self.wfile.write(head)
            for byte in body:
                time.sleep(int(faults["trickle"]) / 1000)
                self.wfile.write(bytes([byte]))
            return True
        for name in ("cut", "reset", "pause"):
            if name in faults:
                start = len(head) if faults[name].startswith("+") else 0
                self.wfile.write((head + body)[:start + int(faults[name])])
                time.sleep(int(faults.get("wait", 0)) / 1000)
                self.end(name)
                return False
        self.write(head + body, int(faults.get("rate", 0)))
        return "unsized" not in faults and "promise" not in faults

    def write(self, answer, rate):
        step = rate // 50 or len(answer)
        for start in range(0, len(answer), step):
            self.wfile.write(answer[start:start + step])
            time.sleep(0.02 if rate else 0)

    def end(self, name):
        if name == "pause":
            self.rfile.read(1)  # until the client goes
        elif name == "reset":
            self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    request_queue_size = 64

    def __init__(self, folder, certificate):
        super().__init__(("127.0.0.1", 0), Handler)
        self.folder = folder
        self.made, self.faults, self.always = {}, {}, {}
        if certificate:
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(*certificate)
            self.socket = context.wrap_socket(self.socket, server_side=True, do_handshake_on_connect=False)

    def shutdown_request(self, request):
        self.close_request(request)  # no orderly end first, which a reset would only follow

    def handle_error(self, request, client_address):
        pass


def answer_steps(server):
    """Runs what comes on the standard input, to its end."""
    site = None
    for line in iter(sys.stdin.readline, ""):
        try:
            if line.startswith("~"):
                server.always = split_faults("/%s/" % line.strip())[1]
            if line.startswith("~") or not line.strip():
                tell("=")
                continue
            if not site:
                import tuf_site

                site = tuf_site.Site(server)
            site.run(line)
            tell("=")
        except Exception as error:
            tell("=%r" % error)


def main():
    server = Server(os.path.abspath(sys.argv[1]), sys.argv[2:4])
    threading.Thread(target=server.serve_forever, daemon=True).start()
    tell(server.server_address[1])
    answer_steps(server)


main()
