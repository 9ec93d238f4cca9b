#pragma once

class QThreadPool;

// The threads the collection's long work runs on. Kept apart from Qt's global
// pool on purpose: the raster paint engine and image conversions share their
// work out over the global pool and wait for it on the main thread, so a scan
// that filled that pool would hold up every frame drawn until the scan ended.
//
// Both pools are drained when the application object goes (or at exit when
// there is none), before any static the work may touch is destroyed; long
// passes ask `stopping()` and end early then.
namespace BackgroundPool {
// What a screen waits for: the tags a scan reads.
QThreadPool& shared();
// Passes over a whole list that nobody waits for (covers of every row). A
// pass keeps its threads until it ends, so it gets a thread of its own
// rather than holding up the next scan behind thousands of covers.
QThreadPool& bulk();
// For work on `bulk()`: lowers the calling thread's priority (once per
// thread), so that a pass over every row gives way to the thread that draws
// the window whenever both want a processor, yet still moves on a busy
// machine.
void yieldToTheWindow();
// True once the process has begun to end: work still queued is pointless.
bool stopping();
// Waits for the work running on both pools. Called by itself on the way
// out; a test may call it to end a pass before it looks.
void drain();
}  // namespace BackgroundPool
