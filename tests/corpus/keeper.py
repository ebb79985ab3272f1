"""For the scripts of the corpus that run inside a Wine session: keeps and restores the registry, and runs programs."""

import subprocess

# The keeper's answer for a command that could not be started or didn't end.
NOT_RUN = 0xFFFFFFFE


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def command_line(words):
    return " ".join('"%s"' % word if " " in word else word for word in words)


class Keeper:
    """The program registrykeeper, which takes orders as long as this object exists."""

    def __init__(self, program):
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": subprocess.DEVNULL}
        self.process = subprocess.Popen(["wine", program], text=True, **pipes)

    def order(self, text):
        """The keeper's answer."""
        self.process.stdin.write(text + "\n")
        self.process.stdin.flush()
        return int(self.process.stdout.readline())

    def run(self, *words):
        """The exit status of a Windows program."""
        return self.run_line(command_line(words))

    def run_line(self, line):
        status = self.order("run " + line)
        assert status != NOT_RUN, line
        return status

    def save(self, folder):
        folder.mkdir(parents=True)
        assert self.order("save " + windows_path(folder)) == 0

    def keep(self, folder):
        """Makes the present registry the one that is restored, and saves it into the folder."""
        assert self.order("keep") == 0
        self.save(folder)

    def restore(self):
        assert self.order("restore") == 0
