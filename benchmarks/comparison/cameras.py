"""The test camera, and a relay that simulates a network stall between the camera and a viewer."""

import queue
import socket
import subprocess
import threading

from .processes import Child, Failure


class TestCamera(Child):
    """A lumvik-test-camera process with the clock pattern in its picture. `url` is the stream's address.

    With `encoded_ahead`, the camera encodes a loop of so many seconds before it serves. `more` are further options."""

    def __init__(self, program, environment, folder, name="Front", size="1280x720", fps=25, port=0, codec="h264",
                 key_frame_seconds=1, encoded_ahead=0, more=()):
        ahead = ["--encoded-ahead", str(encoded_ahead)] if encoded_ahead else []
        super().__init__(
            [program, "--port", str(port), "--path", "/" + name.lower(), "--name", name, "--size", size,
             "--fps", str(fps), "--gop", str(fps * key_frame_seconds), "--codec", codec, "--clock",
             "--exit-with-stdin", *ahead, *more],
            environment, f"{folder}/camera-{name}.log",
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        reply = self.process.stdout.readline().split()
        if len(reply) != 2 or reply[0] != "ready":
            self.end()
            raise Failure("the test camera did not start: " + self.last_words())
        self.url = reply[1]

    def command(self, line):
        """Sends a command and returns the camera's reply. Raises Failure if the camera rejects the command."""
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        reply = self.process.stdout.readline().strip()
        if not reply.startswith("ok"):
            raise Failure(f"the camera replied \"{reply}\" to \"{line}\"")
        return reply.removeprefix("ok").strip()


class StallingNetwork:
    """Relays TCP connections to a camera on the loopback interface. While the relay is stalled, it keeps all
    data and delivers it late, like a radio link that fails for a moment."""

    def __init__(self, url):
        rest = url.removeprefix("rtsp://")
        address, _, path = rest.partition("/")
        host, _, port = address.rpartition(":")
        self._camera = (host, int(port))
        self._flows = threading.Event()
        self._flows.set()
        self._sockets = []
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.url = "rtsp://127.0.0.1:%d/%s" % (self._listener.getsockname()[1], path)
        threading.Thread(target=self._accept, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._flows.set()
        for connection in [self._listener, *self._sockets]:
            try:
                connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass  # the socket is not connected
            connection.close()

    def stall(self):
        self._flows.clear()

    def resume(self):
        self._flows.set()

    def _accept(self):
        while True:
            try:
                viewer, _ = self._listener.accept()
            except OSError:
                return  # the listener has been closed
            camera = socket.create_connection(self._camera)
            self._sockets += [viewer, camera]
            for connection in (viewer, camera):
                connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self._connect(viewer, camera)
            self._connect(camera, viewer)

    def _connect(self, source, sink):
        pending = queue.SimpleQueue()
        threading.Thread(target=self._receive, args=(source, pending), daemon=True).start()
        threading.Thread(target=self._send, args=(pending, sink), daemon=True).start()

    @staticmethod
    def _receive(source, pending):
        try:
            while data := source.recv(65536):
                pending.put(data)
        except OSError:
            pass
        pending.put(b"")

    def _send(self, pending, sink):
        try:
            while data := pending.get():
                self._flows.wait()
                sink.sendall(data)
            sink.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # the peer has closed the connection
