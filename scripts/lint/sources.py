"""What the checks share: the project's files and the list of faults found in them."""
import subprocess


def project_files(suffixes):
    """Path and lines of every file with one of the suffixes, without what .gitignore names."""
    command = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    paths = subprocess.run(command, check=True, capture_output=True, text=True).stdout.split("\0")
    for path in sorted(set(paths)):
        if path.endswith(suffixes):
            try:
                with open(path, encoding="utf-8") as file:
                    yield path, file.read().splitlines()
            except FileNotFoundError:
                pass  # deleted and not committed yet


class Report:
    """Collects faults, prints them as path:line: text."""

    def __init__(self):
        self.faults = 0

    def add(self, path, number, text):
        self.faults += 1
        print(f"{path}:{number}: {text}")

    def finish(self):
        """The exit code: 1 when there was a fault."""
        return 1 if self.faults else 0
