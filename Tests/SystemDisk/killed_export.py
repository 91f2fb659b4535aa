"""An export that is killed at random moments and resumed until it ends."""
import random
import subprocess
import time


class KilledExport:
    def __init__(self, command, seed):
        self._command = [str(word) for word in command]
        self._random = random.Random(seed)
        self.moments = []    # after how many written pieces of all runs it was killed
        self.output = b""    # of the last run

    def run_killed(self, times, files, after_each):
        """Kills it this many times; each time after 2 to 15 percent of `files` were written."""
        for _ in range(times):
            moment = self._random.randrange(files // 50, files * 3 // 20)
            run = subprocess.Popen(self._command, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            if not self._await(run, moment):
                self.output = run.communicate()[0]
                raise AssertionError("it ended with %d before it could be killed:\n%s" % (
                    run.returncode, self.output.decode(errors="replace")[-2000:]))
            run.kill()
            run.communicate()
            self.moments.append(moment)
            after_each()

    @staticmethod
    def _await(run, moment):
        """Until that many calls have written something; false if it ended first."""
        while run.poll() is None:
            try:
                with open("/proc/%d/io" % run.pid, encoding="ascii") as file:
                    counters = dict(line.split(": ") for line in file)
            except (FileNotFoundError, ProcessLookupError):
                return False
            if int(counters.get("syscw", 0)) >= moment:
                return True
            time.sleep(0.001)
        return False

    def run_to_end(self):
        """Its exit status."""
        done = subprocess.run(self._command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT)
        self.output = done.stdout
        return done.returncode
