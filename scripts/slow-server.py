"""Serves bytes slowly on a free loopback port, which it prints: slow-server.py MIB MIB_PER_SECOND"""

import http.server
import sys
import time

PIECE = 64 * 1024
SIZE = int(sys.argv[1]) * 1024 * 1024
PAUSE = PIECE / (int(sys.argv[2]) * 1024 * 1024)


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Type", "application/octet-stream")
        self.send_header("Content-Length", str(SIZE))
        self.end_headers()
        try:
            for _ in range(SIZE // PIECE):
                self.wfile.write(bytes(PIECE))
                time.sleep(PAUSE)
        except (BrokenPipeError, ConnectionResetError):
            pass  # The client has seen enough.

    def log_message(self, *_):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print(server.server_port, flush=True)
server.serve_forever()
