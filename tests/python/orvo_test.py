"""The Python module against the headers' layout and on a real X server. usage: orvo_test.py SOURCE_FOLDER"""
import ctypes
import re
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

ROOT = Path(sys.argv.pop())
sys.path.insert(0, str(ROOT / "bindings/python"))
import orvo
from orvo import _records

try:
    import numpy
except ImportError:
    numpy = None

GREEN, RED = (0x20, 0xC0, 0x60), (0xFF, 0, 0)


class Layout(unittest.TestCase):
    def test_records_are_those_of_the_headers(self):
        # Hosts are compiled against this layout: neither side ever changes alone.
        headers = "".join(path.read_text() for path in (ROOT / "include/orvo").glob("*.h"))
        records = {name: value for name, value in vars(_records).items() if isinstance(value, type) and issubclass(value, ctypes.Structure)}
        self.assertEqual(set(records), set(re.findall(r"^typedef struct (\w+) {$", headers, re.M)))
        facts = []
        for name, record in records.items():
            facts.append(f"sizeof({name}) == {ctypes.sizeof(record)}")
            for field, place in ((field, getattr(record, field)) for field, _ in record._fields_):
                facts.append(f"offsetof({name}, {field}) == {place.offset} && sizeof((({name}*)0)->{field}) == {place.size}")
        source = "#include <stddef.h>\n" + "".join(f"#include <orvo/{path.name}>\n" for path in (ROOT / "include/orvo").glob("*.h"))
        source += "".join(f'_Static_assert({fact}, "");\n' for fact in facts)
        command = ["cc", "-std=c11", "-pedantic", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", f"-I{ROOT}/include", "-xc", "-"]
        subprocess.run(command, input=source, text=True, check=True)

    def test_values_are_those_of_the_headers(self):
        headers = "".join(path.read_text() for path in (ROOT / "include/orvo").glob("*.h"))
        names = {"ORVO_WINDOW_MODE_": "WindowMode", "ORVO_RESOLUTION_MODE_": "Fit", "ORVO_CAPTURE_ERROR_": "ErrorCode",
                 "ORVO_WINDOW_STATUS_": "WindowStatus", "ORVO_PERMISSION_": "Permission"}
        for prefix, name in names.items():
            expected = {key: int(value) for key, value in re.findall(prefix + r"(\w+) =\s+(\d+)", headers)}
            found = dict(getattr(orvo, name).__members__)
            if name == "Permission":
                found.update(orvo.PermissionState.__members__)
            elif name == "Fit":
                found["FIT"] = found.pop("LETTERBOX")
            self.assertEqual(found, expected)


    def test_the_library_is_loaded_by_the_first_question(self):
        code = "import orvo; print('imported'); orvo.version()"
        environment = {"ORVO_LIBRARY": "/nonexistent", "PYTHONPATH": str(ROOT / "bindings/python")}
        done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, env=environment)
        self.assertEqual(done.stdout, "imported\n")
        self.assertRegex(done.stderr, "LibraryNotFound: .*ORVO_LIBRARY")


class Desktop(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        subprocess.run(["xsetroot", "-solid", "#20c060"], check=True)
        cls.screen = orvo.screens()[0]

    def open(self, name, colour, geometry):
        """A window of one colour, and its process."""
        process = subprocess.Popen(["xlogo", "-name", name, "-title", name, "-fg", colour, "-bg", colour, "-geometry", geometry])
        self.addCleanup(self.close, name, process)
        for _ in range(100):
            found = [window for window in orvo.windows(pictures=True) if window.title == name and window.picture]
            if found:
                return found[0], process
            time.sleep(0.1)
        self.fail(f"no window {name}")

    def close(self, name, process):
        """Ends when the screen is free of it: the next test may look there."""
        process.kill()
        process.wait()
        for _ in range(100):
            if all(window.title != name for window in orvo.windows()):
                return
            time.sleep(0.1)
        self.fail(f"window {name} stays")

    def test_frames_of_a_screen(self):
        kept = []
        with orvo.Capture(fps=30, cursor=False) as capture:
            capture.target_screen(self.screen, rect=(10, 20, 101, 51))
            for frame in capture.frames(count=3):
                self.assertEqual((frame.width, frame.height, frame.pixel(100, 50)), (101, 51, GREEN))
                self.assertTrue(frame.pixels.readonly)
                kept += [frame.copy(), frame.retain(), frame.row(50)]
                if numpy:
                    array = numpy.asarray(frame)
                    self.assertEqual((array.shape, array.flags.writeable), ((51, 101, 4), False))
                    self.assertEqual(array.ctypes.data, numpy.asarray(frame.retain()).ctypes.data)
                    kept.append(array)
            capture.target_screen(self.screen)
            with capture.frame() as whole:
                self.assertEqual((whole.width, whole.height), self.screen.rect[2:])
            self.assertEqual(capture.statistics().frames_dropped, 0)
        self.assertTrue(frame.expired and whole.expired)
        with self.assertRaisesRegex(orvo.FrameExpired, "retain"):
            frame.pixel(0, 0)
        if numpy:
            self.assertRaises(orvo.FrameExpired, numpy.asarray, frame)
            self.assertEqual(tuple(kept[3][50, 100, 2::-1]), GREEN)
        copied, retained, row = kept[:3]
        self.assertEqual((copied.stride, copied.pixel(100, 50), retained.pixel(0, 50)), (404, GREEN, GREEN))
        self.assertEqual(bytes(row[400:]), bytes((*GREEN[::-1], 255)))
        self.assertRaises(orvo.OrvoError, capture.start)

    def test_windows(self):
        below, process = self.open("below", "#ff0000", "300x200+100+100")
        above, _ = self.open("above", "#0000ff", "100x100+200+150")
        self.assertEqual((below.owner.process_id, below.rect[2:], below.picture.width), (process.pid, (300, 200), 400))
        self.assertEqual(below.picture.data[:4], bytes((*RED[::-1], 255)))
        self.assertEqual(below.picture.to_pil().getpixel((9, 9)), (*RED, 255))
        self.assertLess(len(repr(below)), 600)
        moves, states = [], []
        with orvo.Capture(fps=30, cursor=False) as capture:
            capture.on_window_moved(lambda window_id, rect: moves.append((window_id, rect)))
            capture.on_window_status(lambda window_id, status, rect: states.append((window_id, status)))
            capture.target_windows(below, size=(100, 100), fit=orvo.Fit.STRETCH)
            with capture.frame() as frame:
                self.assertEqual((frame.window_id, frame.width, frame.pixel(99, 99)), (below.id, 100, RED))
            capture.target_windows(below, above)
            seen = {frame.window_id: frame.pixel(99, 99) for frame in capture.frames(count=10)}
            self.assertEqual(seen, {below.id: RED, above.id: (0, 0, 255)})
            capture.target_screen(self.screen, exclude=[above])
            with capture.frame() as frame:
                self.assertEqual((frame.window_id, frame.pixel(250, 220)), (self.screen.id, RED))

            capture.target_windows(below)
            capture.start()
            for target, expected in (self.screen, None), (below, below.id):  # changed while it runs
                (capture.target_windows if target is below else capture.target_screen)(target)
                self.assertEqual(capture.frame().window_id, expected)
            subprocess.run(["xdotool", "windowmove", str(below.id), "400", "300"], check=True)
            for _ in range(100):
                capture.run(0.05)
                if moves and (below.id, orvo.WindowStatus.MOVED) in states:
                    break
            self.assertEqual((moves[-1][0], moves[-1][1].left // 10), (below.id, 40))
            process.kill()
            with self.assertRaisesRegex(orvo.CaptureError, "gone") as raised:
                capture.run(10)
            self.assertEqual(raised.exception.code, orvo.ErrorCode.NO_CONTENT)

    def test_nothing_a_callback_raises_is_lost(self):
        unraisable = []
        self.addCleanup(setattr, sys, "unraisablehook", sys.unraisablehook)
        sys.unraisablehook = lambda fault: unraisable.append(fault.exc_value.args)
        frames = []
        with self.assertRaisesRegex(ValueError, "late"):
            with orvo.Capture(fps=30) as capture:
                @capture.on_frame
                def _(frame):
                    frames.append(frame)
                    raise ValueError("late" if len(frames) > 1 else "early")
                capture.target_screen(self.screen)
                capture.start()
                with self.assertRaisesRegex(ValueError, "early"):
                    capture.run(5)
                enough = len(frames) + 2
                while len(frames) < enough:
                    orvo._library.library().orvo_screencapture_run_main_queue(10)
        self.assertEqual(unraisable[0], ("late",))
        self.assertTrue(all(frame.expired for frame in frames))

    def test_what_is_not_there(self):
        with orvo.Capture() as capture:
            for wrong in (lambda: capture.target_screen(self.screen.id + 1), lambda: capture.target_windows(99), lambda: capture.target_windows(),
                          lambda: capture.target_screen(self.screen, rect=(1270, 0, 30, 30))):
                self.assertRaises(orvo.NoSuchTarget, wrong)
            self.assertRaises(ValueError, capture.set_fps, 31)
            self.assertRaises(orvo.OrvoError, orvo.Capture)
            with self.assertRaises(orvo.CaptureError) as raised:
                capture.start()
            self.assertEqual(raised.exception.code, orvo.ErrorCode.NO_SOURCE)

    def test_example(self):
        from PIL import Image
        self.open("shown", "#ff0000", "101x51+30+40")
        with tempfile.TemporaryDirectory() as folder:
            file = folder + "/shot.png"
            code = "import sys, runpy; sys.path.insert(0, sys.argv.pop()); runpy.run_path(sys.argv[0], run_name='__main__')"
            for options, size, colour in ([], (1280, 800), GREEN), (["--window", "shown"], (101, 51), RED):
                script = f"import sys; sys.argv = {[str(ROOT / 'examples/python/shot.py'), file, *options, str(ROOT / 'bindings/python')]}; {code}"
                subprocess.run([sys.executable, "-c", script], check=True)
                with Image.open(file) as picture:
                    self.assertEqual((picture.size, picture.getpixel((size[0] - 1, size[1] - 1))), (size, colour))


if __name__ == "__main__":
    unittest.main()
