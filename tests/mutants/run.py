#!/usr/bin/env python3
"""Plants one fault after another in a copy of the sources and reports which of them the tests of that layer catch.

usage: run.py SOURCES COPY [WORD...]     only the faults whose file or text contains one of the words

A fault that does not compile or whose text is not found exactly once is an error of this list. Exit code 1 when the
share that is caught is below the limit or the list has an error.
"""
import os
import re
import shutil
import subprocess
import sys
import time

import runtime

LIMIT = 0.9
# What is held against each layer's faults: its tests, those of them that are tried only on what the others let pass,
# and the models.
DESKTOP = ("desktop_tests", "*Fault*", ["regions", "pictures"])
X11 = ("x11_tests", "Faults*:Races*", [])
RUNTIME = ("runtime_tests", "", ["strings", "numbers", "conversions", "log"])

W, C, A, T, S, P = (f"ScreenCapture/{folder}/" for folder in
                    ("window", "capture", "api", "thumbnail", "platform/software", "platform/x11"))
MUTANTS = [
    # file, text, replacement
    (W + "OrvoWindowCaptureSession_tick.cpp", "shot.image->width() >= kMinImageWidth", "shot.image->width() > kMinImageWidth"),
    (W + "OrvoWindowCaptureSession_tick.cpp", "now - lastErrorTime > kPatience", "now - lastErrorTime > kPatience / 2"),
    (W + "OrvoWindowCaptureSession_tick.cpp", "        lastErrorTime = now;\n", ""),
    (W + "OrvoWindowCaptureSession_tick.cpp", "    stopCapture();\n    return false;", "    return false;"),
    (W + "OrvoWindowCaptureSession_tick.cpp", "contains(options.excludeWindows, number) ||", ""),
    (W + "OrvoWindowCaptureSession_tick.cpp", "!appWindows.empty() &&", ""),
    (W + "OrvoWindowCaptureSession_tick.cpp", "uOffset + truncated", "truncated"),
    (W + "OrvoWindowCaptureSession_tick.cpp", "options.excludeWindows.empty() ?", "true ?"),
    (W + "OrvoWindowCaptureSession_tick.cpp", "    scope.reset();", ""),
    (W + "OrvoWindowCaptureSession_tick.cpp", "describe(shot.why));", "describe(NoImage::failed));"),
    (W + "OrvoWindowCaptureSession_tick.cpp", "constexpr uint32_t kModeArea = 3;", "constexpr uint32_t kModeArea = 4;"),
    (W + "OrvoWindowCaptureSession.cpp", "        options.sequence = nextVersion();\n", ""),
    (W + "OrvoWindowCaptureSession.cpp", "contains(added, entry.first) || ", ""),
    (W + "OrvoWindowCaptureSession.cpp", "{left * scale, top * scale,", "{left * 1.0, top * scale,"),
    (W + "OrvoWindowCaptureSession.cpp", "if (m_stops != stopsSeen) return;", "if (m_stops < stopsSeen) return;"),
    (W + "OrvoWindowCaptureSession.cpp", "if (contains(targets, windows[i]) == add) continue;", ""),
    (W + "OrvoWindowCaptureSession.cpp", "    m_windowManager->setExcludeWindows(excludeWindows());\n", ""),
    (W + "target_frame.cpp", "if (result_ && key == key_)", "if (result_)"),
    (W + "target_frame.cpp", "version == 0 || version != askedAt_", "version == 0 || askedAt_ == 0"),
    (W + "target_frame.cpp", "if (key.picture != 0 && result.image.get() != image.get())", "if (false)"),
    (W + "target_frame.cpp", "    if (key.options != key_.options) return {};\n", ""),
    (W + "target_frame.cpp", "image.height() - mark.y - mark.h, mark.w", "mark.y, mark.w"),
    (W + "target_frame.cpp", "moved(intersection(rect, kept), -kept.x, -kept.y)", "intersection(rect, kept)"),
    (W + "target_frame.cpp", "resolutionMode > 1", "resolutionMode > 2"),
    (W + "target_frame.cpp", "std::max(across, down)", "std::min(across, down)"),
    (W + "target_frame.cpp", "(output.height - height) * 0.5", "(output.height - height)"),
    (W + "OrvoWindowCursor.cpp", "- place.w / 2)", "- place.w / 3)"),
    (W + "OrvoWindowCursor.cpp", "(pointer.height / 2 + pointer.hotSpot.y)", "(pointer.height / 2)"),
    (W + "OrvoWindowCursor.cpp", "if (from[3] == kOpaque)", "if (from[3] != 0)"),
    (W + "OrvoWindowCursor.cpp", "cursor.x + cursor.width > source.width", "cursor.x + cursor.width >= source.width"),
    (W + "OrvoWindowCursor.cpp", "source->height() - (y + h)", "source->height() - (y + h) - 1"),
    (W + "OrvoWindow.cpp", "mainDisplayPixelsHigh()", "mainDisplayPixelsHigh() + 1"),
    (C + "OrvoCaptureSession.cpp", "        if (self.m_stops == stopsSeen) self.startStep(current);", "        self.startStep(current);"),
    (C + "OrvoCaptureSession.cpp", "    if (m_parts.load() != parts) return;\n", ""),
    (C + "OrvoCaptureSession.cpp", "    if (windows) windows->withdrawStart();\n    m_settings", "    m_settings"),
    (C + "OrvoCaptureSession.cpp", "    if (windows) windows->withdrawStart();\n    if (captureSource", "    if (captureSource"),
    (C + "OrvoCaptureSession.cpp", "setMinFrameDuration({1, fps})", "setMinFrameDuration({1, fps + 1})"),
    (C + "OrvoCaptureSession.cpp", "    if (device && device->isRunning()) device->stopRunning();\n", ""),
    (C + "OrvoCaptureSession.cpp", "        if (parts->windowCaptureSession) parts->windowCaptureSession->setFps(fps);\n", ""),
    (C + "OrvoCaptureSession.cpp", "failure.recoverySuggestion.empty() ?", "!failure.recoverySuggestion.empty() ?"),
    (C + "OrvoCaptureSession_targets.cpp", "screenID != parts->displayID", "true"),
    (C + "OrvoCaptureSession_targets.cpp", "wrappingSum(left, width) > bounds.width", "wrappingSum(left, width) >= bounds.width"),
    (C + "OrvoCaptureSession_targets.cpp", "bounds.height - top - height", "bounds.height - top"),
    (C + "OrvoCaptureSession_targets.cpp", "        device->commitConfiguration();\n        throw;", "        throw;"),
    (C + "OrvoCaptureSession_targets.cpp", "            if (wasRunning) self.stopCaptureByself(*parts);\n", ""),
    (C + "OrvoCaptureSession_targets.cpp", "device->canAddInput(parts.captureScreenInput)", "true"),
    (C + "OrvoCaptureSession_targets.cpp", "        if (wasRunning) self.restart(parts, stops);\n", ""),
    (C + "OrvoCaptureSession_delivery.cpp", "baseAddressOfPlane(planes)", "baseAddressOfPlane(planes - 1)"),
    (C + "OrvoCaptureSession_delivery.cpp", "if (time.timescale == 0) return 0;", "if (time.timescale == 0) return 1;"),
    (C + "OrvoCaptureSession_delivery.cpp", "    if (!isOnDevicePath()) {\n        dropOfOtherPath(0);\n        return false;\n    }\n", ""),
    (C + "OrvoCaptureSession_delivery.cpp", "~LockedPixels() { buffer_.unlock(); }", "~LockedPixels() {}"),
    (C + "OrvoCaptureSession_delivery.cpp", "std::abs(now - reportedAt) >= kReportInterval &&", ""),
    (C + "OrvoCaptureSession_delivery.cpp", "static_cast<double>(bytesPerRow) * size.height", "static_cast<double>(bytesPerRow) * buffer.height()"),
    (C + "OrvoCaptureSettings.cpp", "    if (m_isShut) return false;\n", ""),
    (C + "capture_statistics.cpp", "interval_ * 1.5", "interval_ * 2.5"),
    (C + "capture_statistics.cpp", "std::min(ticks, last.dropsSince)", "0"),
    (C + "capture_statistics.cpp", "    lastFrames_.clear();\n", ""),
    (C + "capture_statistics.cpp", "++figures_.framesDropped;", ""),
    (W + "capture_options.h", "kMaxFps = 30", "kMaxFps = 31"),
    (A + "OrvoScreenCaptureImpl.cpp", "    if (registry) registry->shut();\n", ""),
    (A + "OrvoScreenCaptureImpl.cpp", "    ORVO::BASE::freeKeptPixelMemory();  // the user has chosen\n", ""),
    (A + "OrvoScreenCaptureImpl.cpp", "    if (m_captureSession == created) m_captureSession = nullptr;\n", ""),
    (A + "OrvoScreenCaptureImpl_lists.cpp", "if (!record->isScreen) numbers", "numbers"),
    (A + "OrvoScreenCaptureImpl_lists.cpp", "screens[i].number == mainDisplay", "i == 0"),
    (A + "OrvoScreenCaptureImpl_lists.cpp", "std::max<size_t>(records.size(), 1)", "records.size()"),
    (A + "OrvoScreenCaptureImpl_lists.cpp", "skipImages ? nullptr : platform()", "platform()"),
    (T + "OrvoWindowManager_tracking.cpp", "version != 0 && record->unchangedAt == version", "record->unchangedAt == version"),
    (T + "OrvoWindowManager_tracking.cpp", "    record->unchangedAt = 0;\n", ""),
    (T + "OrvoWindowManager_tracking.cpp", "    if (isHidden) return false;\n", ""),
    (T + "OrvoWindowManager_tracking.cpp", "        window.windowBounds = frame;\n", ""),
    (T + "OrvoWindowManager_tracking.cpp", "if (isNotify && isReplaced) return true;", ""),
    (T + "OrvoWindowManager_tracking.cpp", "cmd != ORVO_SHOW_WINDOW_FRONT", "cmd == ORVO_SHOW_WINDOW_HIDE"),
    (T + "OrvoWindowManager_tracking.cpp", "SlideShowProgram::listedWindow && !check", "SlideShowProgram::listedWindow && check"),
    (T + "OrvoWindowManager_notify.cpp", "<= kMissingSeconds) return;", "< kMissingSeconds) return;"),
    (T + "OrvoWindowManager_notify.cpp", "    if (!m_settings->getCallback(kind).first) return;\n", ""),
    (T + "OrvoWindowManager_notify.cpp", "static_cast<void>(info.release());", "info.reset();"),
    (T + "OrvoWindowManager.cpp", "window.layer >= kFirstHiddenLayer", "window.layer > kFirstHiddenLayer"),
    (T + "OrvoWindowManager.cpp", "window.name.empty() ?", "true ?"),
    (T + "OrvoWindowManager_pictures.cpp", "if (excess > 1)", "if (excess > 2)"),
    (T + "OrvoWindowManager_pictures.cpp", "if (!appName.empty())", "if (true)"),
    (T + "OrvoWindowManager_pictures.cpp", "icon->size.width / icon->size.height", "icon->size.height / icon->size.width"),
    (T + "slide_show.cpp", "window.number != capturedNumber &&", ""),
    (T + "slide_show.cpp", "contains(capturedTitle, window.title)", "false"),
    (T + "window_info.cpp", "length >= sizeof field", "length > sizeof field"),
    (T + "window_info.cpp", "truncated<int32_t>(rect.x + rect.width)", "truncated<int32_t>(rect.x) + truncated<int32_t>(rect.width)"),
    ("common/utils/orvo_pixel_memory.cpp", "aged.size <= kMaxOldBytes - oldBytes_", "true"),
    (T + "bitmap_item.cpp", "std::min<size_t>(item->length, image.bytesPerRow() * item->height)", "item->length / 2"),
    (T + "OrvoAppProxy.cpp", "kMaxWindows = 100", "kMaxWindows = 101"),
    (T + "OrvoAppProxy.cpp", "Activation::ignoringOthers", "Activation::allWindows"),
    (T + "OrvoAppProxy.cpp", "force ? runningApplication_", "!force ? runningApplication_"),
    (T + "OrvoAppProxy.cpp", "!isHidden() && !proxy.isWindowMinimized()", "!proxy.isWindowMinimized()"),
    (T + "OrvoAppProxy_observer.cpp", "if (app_) observer_->remove", "if (false) observer_->remove"),
    (T + "OrvoAppProxy_observer.cpp", "event.hasContext ? this : nullptr", "nullptr"),
    (S + "imaging.cpp", "uint64_t{width} * 4 <= image->bytesPerRow()", "uint64_t{width} * 4 < image->bytesPerRow()"),
    (S + "imaging.cpp", "height - placement.y - placement.height", "placement.y"),
    (S + "imaging.cpp", "area(*candidate.image) < area(**best)", "area(*candidate.image) > area(**best)"),
    (S + "imaging.cpp", "drawWhole(source.part(part),", "drawWhole(source,"),
    (S + "imaging.cpp", "    if (!changes.isKnown()) affected.add(scaling_->covered());\n", ""),
    (S + "imaging.cpp", "        for (const PixelRect& rect : affected) output.behind.unite(rect);", "        output.behind.clear();"),
    (S + "imaging.cpp", "    output->behind.clear();\n", ""),
    (S + "imaging.cpp", "        clearOutside(pixelsOf(*made.bitmap), scaling_->covered());\n", ""),
    (S + "scale.cpp", "truncated<int>(std::floor(low)), 0, targetLength - 1)", "truncated<int>(std::ceil(low)), 0, targetLength - 1)"),
    (S + "scale.cpp", "length / step >= 2 * target", "length / step >= target"),
    (S + "scale.cpp", "1, 3) + 128;", "1, 3);"),
    (S + "scale.cpp", "std::floor((from - 1) * ratio)) - 1;", "std::floor(from * ratio)) + 1;"),
    (S + "scale.cpp", "std::min((part.x + part.width + 3) & ~3, width)", "part.x + part.width"),
    (S + "pointer_blend.cpp", "+ 127;", "+ 254;"),
    (S + "pointer_blend.cpp", "if (source[i] != 0)", "if (source[i] >> 24 == 0xFF)"),
    (S + "frame.cpp", "for (size_t i = painted_.size(); i-- > 0;)", "for (size_t i = 0; i < painted_.size(); i++)"),
    (S + "region.cpp", "{rect.x, hole.y, hole.x - rect.x, hole.height}", "{rect.x, hole.y, hole.x - rect.x, 0}"),
    (S + "region.cpp", "    subtract(area);\n    rects_", "    rects_"),
    (S + "region.cpp", "        open.subtract(opaque[i]);\n", ""),
    (S + "queues.cpp", "dead->tick = nullptr;", ""),
    (S + "queues.cpp", "((now - next) / interval + 1)", "1"),
    (S + "display_stream.cpp", "        undelivered = std::move(waiting_);\n        queue_", "        queue_"),
    (S + "display_stream.cpp", "    bool isCurrent(uint64_t run) const { return running_ && run == run_; }", "    bool isCurrent(uint64_t) const { return running_; }"),
    (S + "display_stream.cpp", "            undelivered_.add(result.changes);", "            undelivered_ = result.changes;"),
]

# On a real server.
X11_MUTANTS = [
    (P + "compositor.cpp", "if (hasUnknown_ && part->window) part->window->receiveUnknown();", "continue;"),
    (P + "compositor.cpp", "if (part->isKnown() && !blends) uncovered_", "if (!blends) uncovered_"),
    (P + "compositor.cpp", "        part->visible = visible[i].intersected(part->reach);\n", "        part->visible = x11::regionOf(layers_[i], bounds).intersected(part->reach);\n"),
    (P + "compositor.cpp", "            if (canvas.drawnTime >= laidOutTime_)\n", "            if (false)\n"),
    (P + "compositor.cpp", "(!window || part->generation == window->generation())", "true"),
    (P + "compositor.cpp", "part.dx + border), dy = static_cast<int16_t>(part.dy + border)", "part.dx), dy = static_cast<int16_t>(part.dy)"),
    (P + "compositor.cpp", "    const bool cuts = part.window && part.window->mayBeUnknown();", "    const bool cuts = false;"),
    (P + "compositor.cpp", "        if (!isLaidOut(bounds_)) why = NoImage::failed;\n", ""),
    (P + "compositor.cpp", "    changedSince_ = std::exchange(version_, nextVersion());\n", "    changedSince_ = version_;\n"),
    (P + "redirected_window.cpp", "return static_cast<int32_t>(a - b) >= 0;", "return static_cast<int32_t>(a - b) > 0;"),
    (P + "redirected_window.cpp", "    doubtful_ = isNew || isUnknownToOthers || border_ > 0;\n", "    doubtful_ = isNew || isUnknownToOthers;\n"),
    (P + "redirected_window.cpp", "    xcb_xfixes_set_region(x_->raw(), unknown_.id(), 1, &whole);\n", ""),
    (P + "redirected_window.cpp", "    if (notBefore(event.full_sequence, naming_)) hasOtherPixmap_ = true;\n", ""),
    (P + "redirected_window.cpp", "    if (mayBeUnknown_ && !doubtful_) xcb_xfixes_subtract", "    if (mayBeUnknown_) xcb_xfixes_subtract"),
    (P + "redirected_window.cpp", "    if (named_ || before) generation_ = nextVersion();\n", ""),
    (P + "frame_pool.cpp", "    slots_.front()->frame->restore();\n", ""),
    (P + "frame_pool.cpp", "return slot->frame->unique();", "return true;"),
    (P + "frame_pool.cpp", "(size.width + kStep - 1) / kStep * kStep", "size.width"),
    (P + "display_source.cpp", "    return software::intersection(area, display);", "    return area;"),
    (P + "display_source.cpp", "display.y + display.height - limited(crop.y) - limited(crop.height)", "display.y + limited(crop.y)"),
    (P + "display_source.cpp", "wasClicked || (place", "(place"),
    (P + "display_source.cpp", "events == unchangedAt_ &&", "unchangedAt_ != kNever &&"),
    (P + "display_source.cpp", "settings == settings_ && ", ""),
    (P + "window_list.cpp", "        window.bounds = platform::moved(window.bounds, dx, dy);\n", ""),
    (P + "window_list.cpp", "notify.above_sibling == below &&", "true &&"),
    (P + "window_list.cpp", "    if (isGrab || event.detail", "    if (event.detail"),
    (P + "window_list.cpp", "            known_.erase(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);\n", ""),
    (P + "window_list.cpp", "        if (top.window == root_.checkWindow) continue;", "        if (false) continue;"),
    (P + "window_list.cpp", "(root_.hasManager && facts.hasState())", "facts.hasState()"),
    (P + "window_list.cpp", "    facts->shapeChanged();\n", ""),
    # Survives: of the managers that the ordinary run has none marks a shaded window as hidden.
    (P + "window_properties.cpp", "hidden_ && !shaded_ && !root", "hidden_ && !root"),
    (P + "window_properties.cpp", "    propertiesKnown_ = false;\n", ""),
    (P + "window_properties.cpp", "client_.machine.empty() ? !isRemote : client_.machine == hostName()", "true"),
    (P + "window_properties.cpp", "    if (count == 0) shape.push_back({});", "    if (false) shape.push_back({});"),
    (P + "monitors.cpp", "    if (found == all.end()) found = std::ranges::find_if(all, isAtCorner);\n", ""),
    (P + "monitors.cpp", "global.x + origin->area.x", "global.x - origin->area.x"),
    (P + "connection.cpp", "    lost_ = true;\n}", "}"),
    (P + "connection.cpp", "++each) xcb_discard_reply", "++each) if (false) xcb_discard_reply"),
    (P + "connection.cpp", "            selected_.erase(reinterpret_cast<const xcb_destroy_notify_event_t&>(*event).window);", "            static_cast<void>(0);"),
    (P + "desktop.cpp", "        next.version = nextVersion();\n", ""),
    (P + "desktop.cpp", "            stale_.fill(true);\n            for", "            for"),
    (P + "pointer_position.cpp", ".detail <= kMaxButton)", ".detail <= 9)"),
    (P + "window_control.cpp", "rank(*window) > rank(*last)", "rank(*window) >= rank(*last)"),
    (P + "window_control.cpp", "    lateSince = Clock::now();\n", ""),
    (P + "window_control.cpp", "        noteActivation(window);\n", ""),
]


def build_and_test(build, layer):
    """'caught by TEST', 'survives' or an error of the list."""
    program, long_tests, models = layer
    targets = [program, *("seeded_" + model for model in models)]
    made = subprocess.run(["cmake", "--build", build, "--target", *targets, "-j2"], capture_output=True, text=True)
    if made.returncode:
        return "does not compile: " + "".join(line for line in made.stdout.splitlines(True) if "error" in line)[:300]
    runs = [[f"seeded_{model}", f"{build}/../../tests/fuzz/corpus/{model}"] for model in models]
    filters = ["-" + long_tests, long_tests] if long_tests else ["*"]
    runs += [[program, "--gtest_fail_fast", f"--gtest_filter={tests}"] for tests in filters]
    for command, *options in runs:
        try:
            run = subprocess.run([f"{build}/{command}", *options], capture_output=True, text=True, errors="replace", timeout=300)
        except subprocess.TimeoutExpired:
            return "caught by a hang"
        if run.returncode:
            failed = re.search(r"^\[  FAILED  \] (\S+?),? ", run.stdout, re.M)
            return "caught by " + (failed[1] if failed else command + ", which ended")
    return "survives"


def main():
    sources, copy, words = sys.argv[1], sys.argv[2], sys.argv[3:]
    listed = subprocess.run(["git", "-C", sources, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            capture_output=True, text=True, check=True).stdout
    shutil.rmtree(copy, ignore_errors=True)
    for path in filter(None, listed.split("\0")):
        if os.path.isfile(f"{sources}/{path}"):
            os.makedirs(os.path.dirname(f"{copy}/{path}"), exist_ok=True)
            shutil.copy2(f"{sources}/{path}", f"{copy}/{path}")
    # A fault may leave something unused, which is no reason not to try it.
    options = f"{copy}/cmake/options.cmake"
    with open(options, encoding="utf-8") as source:
        whole = source.read()
    with open(options, "w", encoding="utf-8") as source:
        source.write(whole.replace("-Werror", ""))
    os.environ["CCACHE_BASEDIR"] = os.path.realpath(copy)
    build = f"{copy}/build/release"
    subprocess.run(["cmake", "--preset", "release"], cwd=copy, check=True, stdout=subprocess.DEVNULL)
    chosen = [(layer, *mutant) for layer, mutants in ((RUNTIME, runtime.MUTANTS), (DESKTOP, MUTANTS), (X11, X11_MUTANTS)) for mutant in mutants
              if not words or any(word in mutant[0] + mutant[1] for word in words)]
    for layer in (RUNTIME, DESKTOP, X11):
        if any(mutant[0] is layer for mutant in chosen) and build_and_test(build, layer) != "survives":
            sys.exit("mutants: the tests fail without a fault")
    caught = errors = count = 0
    for layer, file, text, replacement in chosen:
        count += 1
        with open(f"{copy}/{file}", encoding="utf-8") as source:
            whole = source.read()
        begin = time.monotonic()
        if whole.count(text) != 1:
            result = f"is found {whole.count(text)} times"
        else:
            with open(f"{copy}/{file}", "w", encoding="utf-8") as source:
                source.write(whole.replace(text, replacement))
            result = build_and_test(build, layer)
            with open(f"{copy}/{file}", "w", encoding="utf-8") as source:
                source.write(whole)
        caught += result.startswith("caught")
        errors += not result.startswith(("caught", "survives"))
        print(f"{result:60} {time.monotonic() - begin:4.0f} s  {os.path.basename(file)}: {' '.join(text.split())}", flush=True)
    share = caught / count if count else 0
    print(f"mutants: {caught} of {count} caught, {share:.2f}")
    sys.exit(errors > 0 or share < LIMIT)


if __name__ == "__main__":
    main()
