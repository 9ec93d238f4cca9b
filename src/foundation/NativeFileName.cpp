#include "NativeFileName.h"

namespace NativeFileName {

namespace {

constexpr char16_t kFirstKeptByte = 0xDC80;
constexpr char16_t kLastKeptByte = 0xDCFF;

bool isKeptByte(char16_t unit) {
    return unit >= kFirstKeptByte && unit <= kLastKeptByte;
}

// The length of the valid UTF-8 sequence at `at`, or 0 when there is none:
// no overlong forms, no surrogates, nothing above U+10FFFF.
qsizetype validSequenceAt(const QByteArray& bytes, qsizetype at) {
    const auto byte = [&](qsizetype i) { return static_cast<unsigned char>(bytes[at + i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    qsizetype length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : 0x80;
        high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (bytes.size() - at < length || byte(1) < low || byte(1) > high) {
        return 0;
    }
    for (qsizetype i = 2; i < length; ++i) {
        if (byte(i) < 0x80 || byte(i) > 0xBF) {
            return 0;
        }
    }
    return length;
}

}  // namespace

QString decode(const QByteArray& native) {
    QString text;
    qsizetype runStart = 0;
    qsizetype at = 0;
    while (at < native.size()) {
        const qsizetype length = validSequenceAt(native, at);
        if (length > 0) {
            at += length;
            continue;
        }
        text += QString::fromUtf8(native.constData() + runStart, at - runStart);
        text += QChar(char16_t(kFirstKeptByte + (static_cast<unsigned char>(native[at]) - 0x80)));
        runStart = ++at;
    }
    text += QString::fromUtf8(native.constData() + runStart, at - runStart);
    return text;
}

QByteArray encode(const QString& name) {
    QByteArray native;
    native.reserve(name.size());
    qsizetype runStart = 0;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char16_t unit = name.at(i).unicode();
        if (QChar::isHighSurrogate(unit) && i + 1 < name.size() &&
            QChar::isLowSurrogate(name.at(i + 1).unicode())) {
            ++i;  // a pair is text, whatever its low half
            continue;
        }
        if (isKeptByte(unit)) {
            native += QStringView(name).mid(runStart, i - runStart).toUtf8();
            native += char(0x80 + (unit - kFirstKeptByte));
            runStart = i + 1;
        }
    }
    native += QStringView(name).mid(runStart).toUtf8();
    return native;
}

QString forDisplay(const QString& name) {
    QString shown = name;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        const char16_t unit = shown.at(i).unicode();
        if (QChar::isHighSurrogate(unit) && i + 1 < shown.size() &&
            QChar::isLowSurrogate(shown.at(i + 1).unicode())) {
            ++i;
        } else if (isKeptByte(unit)) {
            shown[i] = QChar::ReplacementCharacter;
        }
    }
    return shown;
}

}  // namespace NativeFileName
