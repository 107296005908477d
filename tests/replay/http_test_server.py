#!/usr/bin/env python3
"""A loopback HTTP/1.1 server for the tests of the live transport.

    http_test_server.py [--tls CERT KEY]

Listens on 127.0.0.1 on a port the system picks and prints "PORT <n>" on
its first line of output. It parses requests itself (not http.server) so
that a test sees exactly what went over the wire: the request line as sent
(absolute form through a proxy), the headers in order, the body, the
client's port (to tell connections apart) and the bytes read. Paths:

  /echo            200 with a JSON report of the request (see Report)
  /cookies         headers in a fixed order, Set-Cookie twice
  /gzip            a gzip-encoded body when the request accepts gzip
  /redirect        302 to /echo (the transport must not follow it)
  /status?code=N   status N with a short body
  /close           200 with "Connection: close", then closes
  /bytes?n=N       N bytes of "x"
  /slow?n=N&gap=S  N body bytes, one every S seconds
  /stall?s=S       answers after S seconds
  /reset           reads the request, then resets the connection
  /truncated       a chunked body that ends before its last chunk
  /garbage         a reply that is not HTTP, then closes
  /huge?mb=N[&length=1]  N MiB, chunked (or with a Content-Length)

SIGTERM ends it.
"""
import argparse
import gzip
import json
import socket
import socketserver
import ssl
import struct
import sys
import time
import urllib.parse

MAX_HEAD = 1 << 20


class ClientGone(Exception):
    pass


class Handler(socketserver.BaseRequestHandler):
    def setup(self):
        self.sock = self.request
        self.sock.settimeout(30)
        self.buffer = b""

    def handle(self):
        try:
            if self.server.tls_context is not None:
                try:
                    self.sock = self.server.tls_context.wrap_socket(self.sock, server_side=True)
                except (ssl.SSLError, OSError):
                    return  # the client refused the certificate
            while True:
                request = self.read_request()
                if request is None or not self.dispatch(request):
                    return
        except (ClientGone, OSError):
            return

    # --- reading -----------------------------------------------------------
    def receive(self):
        data = self.sock.recv(65536)
        if not data:
            raise ClientGone()
        self.buffer += data

    def read_exact(self, count):
        while len(self.buffer) < count:
            self.receive()
        data, self.buffer = self.buffer[:count], self.buffer[count:]
        return data

    def read_line(self):
        while b"\r\n" not in self.buffer:
            if len(self.buffer) > MAX_HEAD:
                raise ClientGone()
            self.receive()
        line, self.buffer = self.buffer.split(b"\r\n", 1)
        return line

    def read_request(self):
        try:
            while b"\r\n\r\n" not in self.buffer:
                if len(self.buffer) > MAX_HEAD:
                    return None
                self.receive()
        except ClientGone:
            return None
        head, self.buffer = self.buffer.split(b"\r\n\r\n", 1)
        raw_bytes = len(head) + 4
        lines = head.decode("latin-1").split("\r\n")
        parts = lines[0].split(" ")
        if len(parts) != 3:
            return None
        method, target, version = parts
        headers = []
        for line in lines[1:]:
            name, _, value = line.partition(":")
            headers.append([name, value.strip()])
        lower = {name.lower(): value for name, value in headers}
        body = b""
        if "chunked" in lower.get("transfer-encoding", "").lower():
            while True:
                size_line = self.read_line()
                raw_bytes += len(size_line) + 2
                size = int(size_line.split(b";")[0], 16)
                chunk = self.read_exact(size + 2)
                raw_bytes += size + 2
                body += chunk[:size]
                if size == 0:
                    break
        elif "content-length" in lower:
            body = self.read_exact(int(lower["content-length"]))
            raw_bytes += len(body)
        path_part = target
        if "://" in target:  # absolute form, as a proxy is asked
            path_part = "/" + target.split("://", 1)[1].partition("/")[2]
        split = urllib.parse.urlsplit(path_part)
        connection = lower.get("connection", "").lower()
        keep = connection != "close" if version == "HTTP/1.1" else connection == "keep-alive"
        return {
            "method": method, "target": target, "version": version, "headers": headers,
            "lower": lower, "body": body, "path": split.path,
            "query": dict(urllib.parse.parse_qsl(split.query)),
            "requestBytes": raw_bytes, "keep": keep,
        }

    # --- writing -----------------------------------------------------------
    def respond(self, request, status, headers, body=b"", keep=None):
        keep = request["keep"] if keep is None else keep
        reason = {200: "OK", 302: "Found", 404: "Not Found", 500: "Internal Server Error"}
        out = ["HTTP/1.1 %d %s" % (status, reason.get(status, "Status"))]
        out += ["%s: %s" % pair for pair in headers]
        if not any(name.lower() == "content-length" for name, _ in headers):
            out.append("Content-Length: %d" % len(body))
        if not keep:
            out.append("Connection: close")
        head = ("\r\n".join(out) + "\r\n\r\n").encode("latin-1")
        self.sock.sendall(head + (b"" if request["method"] == "HEAD" else body))
        return keep

    def dispatch(self, request):
        path, query = request["path"], request["query"]
        if path == "/echo":
            report = {
                "method": request["method"], "target": request["target"],
                "version": request["version"], "headers": request["headers"],
                "body": request["body"].decode("latin-1"),
                "clientPort": self.client_address[1],
                "requestBytes": request["requestBytes"],
            }
            return self.respond(request, 200, [("Content-Type", "application/json")],
                                json.dumps(report).encode())
        if path == "/cookies":
            return self.respond(request, 200, [
                ("X-First", "1"), ("Set-Cookie", "a=1; Path=/"), ("X-Middle", "m"),
                ("Set-Cookie", "b=2; HttpOnly"), ("Content-Type", "text/plain")], b"cookies")
        if path == "/gzip":
            text = b"compressible text " * 200
            if "gzip" in request["lower"].get("accept-encoding", ""):
                return self.respond(request, 200, [("Content-Encoding", "gzip")],
                                    gzip.compress(text))
            return self.respond(request, 200, [], text)
        if path == "/redirect":
            return self.respond(request, 302, [("Location", "/echo")], b"moved")
        if path == "/status":
            code = int(query.get("code", "500"))
            return self.respond(request, code, [], b"status %d" % code)
        if path == "/close":
            return self.respond(request, 200, [], b"closing", keep=False)
        if path == "/bytes":
            return self.respond(request, 200, [], b"x" * int(query.get("n", "0")))
        if path == "/slow":
            count, gap = int(query.get("n", "3")), float(query.get("gap", "0.3"))
            self.sock.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: %d\r\n\r\n" % count)
            for _ in range(count):
                time.sleep(gap)
                self.sock.sendall(b"s")
            return request["keep"]
        if path == "/stall":
            time.sleep(float(query.get("s", "5")))
            return self.respond(request, 200, [], b"late")
        if path == "/reset":
            self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            self.sock.close()
            return False
        if path == "/truncated":
            self.sock.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                              b"5\r\nhello\r\n10\r\nonly part")
            self.sock.shutdown(socket.SHUT_WR)
            return False
        if path == "/garbage":
            self.sock.sendall(b"this is not an HTTP reply\r\nat all\r\n\r\n")
            self.sock.shutdown(socket.SHUT_WR)
            return False
        if path == "/huge":
            mebibytes = int(query.get("mb", "100"))
            block = b"h" * (1 << 20)
            if query.get("length") == "1":
                self.sock.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: %d\r\n\r\n"
                                  % (mebibytes << 20))
                for _ in range(mebibytes):
                    self.sock.sendall(block)
            else:
                self.sock.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n")
                for _ in range(mebibytes):
                    self.sock.sendall(b"100000\r\n" + block + b"\r\n")
                self.sock.sendall(b"0\r\n\r\n")
            return request["keep"]
        return self.respond(request, 404, [], b"no such path")


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True
    request_queue_size = 64


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--tls", nargs=2, metavar=("CERT", "KEY"))
    args = parser.parse_args()
    server = Server(("127.0.0.1", 0), Handler)
    server.tls_context = None
    if args.tls:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(args.tls[0], args.tls[1])
        server.tls_context = context
    print("PORT %d" % server.server_address[1], flush=True)
    # Answers are written from handler threads; the main thread only
    # accepts. SIGTERM (the default action) ends everything.
    server.serve_forever()


if __name__ == "__main__":
    main()
