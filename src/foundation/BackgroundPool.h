#pragma once

class QThreadPool;

// The threads the collection's long work runs on: tags read by a scan,
// covers decoded for rows. Kept apart from Qt's global pool on purpose: the
// raster paint engine and image conversions share their work out over the
// global pool and wait for it on the main thread, so a scan that filled that
// pool would hold up every frame drawn until the scan ended.
namespace BackgroundPool {
QThreadPool& shared();
}
