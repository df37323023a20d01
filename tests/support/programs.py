"""What tests of whole programs share: simulated panels, and a person's keys on an X server."""

import contextlib
import os
import subprocess
import time


@contextlib.contextmanager
def panels(program, *arguments):
    """tavrin-panel with these arguments, once it is ready."""
    with subprocess.Popen([program, *arguments], stdout=subprocess.PIPE) as process:
        try:
            # The first beacon may be logged before it.
            next(line for line in process.stdout if line.startswith(b"ready"))
            yield process
        finally:
            process.terminate()


class XServer:
    """An X server of its own; what runs on it gets `environment`."""

    def __init__(self, environment):
        read, write = os.pipe()
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-noreset", "-nolisten", "tcp", "-screen", "0", "1024x768x24"],
            pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as numbers:
            self.environment = {**environment, "DISPLAY": ":" + numbers.readline().strip()}

    def end(self):
        self.process.kill()
        self.process.wait()

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.environment, check=True, text=True,
                              capture_output=True, timeout=60).stdout.split()

    def enter(self, title, but=None):
        """Waits for a window, another one than `but`, and gives it the focus, as a window manager would."""
        while not (windows := [window for window in self.xdotool("search", "--sync", "--onlyvisible", "--name", title)
                               if window != but]):
            time.sleep(0.01)
        self.xdotool("windowfocus", "--sync", windows[-1])
        return windows[-1]
