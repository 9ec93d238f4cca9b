#pragma once

#include <QString>

class AudioDecoder;

// Finds and loads the decoding module. The libraries behind it are mapped
// only when the first file is opened, not when a program starts.
namespace AudioDecoderModule {

// Where the module is looked for: beside the running program, else where
// the build put it.
QString path();

// The decoder of the module at `path`, loaded now; nullptr with the reason
// in `error` when it cannot be loaded or is not such a module.
const AudioDecoder* load(const QString& path, QString* error);

// The process's one decoder, loaded on first use; when that fails it logs
// why once and answers nullptr, with the reason in `error`, from then on.
const AudioDecoder* shared(QString* error = nullptr);

}  // namespace AudioDecoderModule
