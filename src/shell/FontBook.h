#pragma once

#include <QtQml/qqmlregistration.h>
#include <QFont>
#include <QObject>
#include <QString>
#include <optional>

class QQmlEngine;
class QJSEngine;

// The design's font names mapped to the weights of one free family. A name
// outside the table is unknown: callers decide whether that is a fallback to
// the system font or a programming error.
class FontBook : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(Fonts)
    QML_SINGLETON

public:
    explicit FontBook(QObject* parent = nullptr) : QObject(parent) {}
    static FontBook* create(QQmlEngine* engine, QJSEngine*);

    static std::optional<QFont> font(const QString& name, qreal pixelSize);
    static bool isKnown(const QString& name);

    // For QML: the family and weight of a design name (the system font's for
    // an unknown one).
    Q_INVOKABLE static QString family(const QString& name);
    Q_INVOKABLE static int weight(const QString& name);

    // The plain glyphs (play, pause, menu, ...) come from one icon font; a
    // glyph is the text to draw in `iconFamily()`. An unknown name gives an
    // empty text and a diagnostic naming it.
    Q_INVOKABLE static QString iconFamily();
    Q_INVOKABLE static QString glyph(const QString& name);
    static QStringList glyphNames();

    // Leaves the icon font's web copies (WOFF, WOFF2) out of the fonts the
    // application sees, so that the plain TrueType file is drawn from, which
    // needs no decompression at the first glyph. Runs before the application
    // object is made; false when the font configuration cannot be changed.
    static bool preferPlainIconFont();

    // Opens the faces the window draws with (the family at every design
    // weight, and the icon font) ahead of the first text, for a start to do
    // while its QML still loads elsewhere.
    static void warmUp();
};
