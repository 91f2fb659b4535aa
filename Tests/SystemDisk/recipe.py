"""The commands of a section of a document, and how they are run where the disk is an image."""
import os
import re
import shlex
import shutil
import subprocess

HEADING = "## Rescuing a system disk"


def commands(document):
    """The lines in the section's code blocks, in their order."""
    text = document.read_text(encoding="utf-8")
    section = re.split(r"^## ", text[text.index(HEADING) + len(HEADING):], flags=re.MULTILINE)[0]
    blocks = re.findall(r"^```\n(.*?)^```$", section, re.MULTILINE | re.DOTALL)
    return [line for block in blocks for line in block.splitlines()]


class RecipeKitchen:
    """A folder with a disk that fails as bad.map says, and the programs that the recipe uses."""

    def __init__(self, made, tool, work, secret):
        self._made, self._work, self._secret = made, work, secret
        self._programs = work / "programs"
        self._programs.mkdir()
        self._make("sudo", 'exec "$@"')
        self._make("volume-export", 'exec %s "$@"' % shlex.quote(str(tool)))
        self._make("ddrescue", 'exec %s -q -H %s "$@"' % (
            shutil.which("ddrescue"), shlex.quote(str(made / "bad.map"))))

    def _make(self, name, line):
        path = self._programs / name
        path.write_text("#!/bin/sh\n%s\n" % line)
        path.chmod(0o755)

    def run(self, command):
        """(status, output)"""
        command = command.replace("/dev/sdb", shlex.quote(str(self._made / "disk.img")))
        command = command.replace("recovery", "password")
        done = subprocess.run(["bash", "-c", command], cwd=self._work, input=self._secret + b"\n",
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              env=dict(os.environ, PATH="%s:%s" % (self._programs, os.environ["PATH"])))
        return done.returncode, done.stdout
