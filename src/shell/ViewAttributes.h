#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QMatrix4x4>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariant>
#include <optional>

class QQuickItem;
class SublayerTranslation;

// The attributes a screen's QML sets on its items by name, attached to any
// item as `Bundle.<name>`:
//
//     Label { Bundle.localizedText: "tutorial_title" }
//     TextField { Bundle.localizedPlaceholder: "search"; Bundle.placeholderColor: "gray" }
//     Rectangle { Bundle.cornerRadius: 8; Bundle.borderColor: "white" }
//
// Each one acts on the item's own properties (text, placeholderText, radius,
// border, a slider's handle, ...) at the moment it is written; a read gives
// what stands on the item then, which is not always what was written. An
// attribute the item has no use for is logged and changes nothing.
class ViewAttributes : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(Bundle)
    QML_UNCREATABLE("only attached: Bundle.localizedText and the like")
    QML_ATTACHED(ViewAttributes)

    // null clears the text; a key puts its text for the current language.
    Q_PROPERTY(QVariant localizedText READ localizedText WRITE setLocalizedText NOTIFY changed)
    Q_PROPERTY(QVariant localizedPlaceholder READ localizedPlaceholder WRITE setLocalizedPlaceholder
                   NOTIFY changed)
    // On a bar with a `topItem` (anything with a title): that item's title.
    Q_PROPERTY(QVariant localizedTitle READ localizedTitle WRITE setLocalizedTitle NOTIFY changed)
    // null paints the placeholder white; the read is null without a placeholder.
    Q_PROPERTY(
        QVariant placeholderColor READ placeholderColor WRITE setPlaceholderColor NOTIFY changed)
    // Moves the item's content sideways. The read is the m11 of that
    // translation, so it stays 1 whatever was written.
    Q_PROPERTY(
        qreal horizontalPadding READ horizontalPadding WRITE setHorizontalPadding NOTIFY changed)
    Q_PROPERTY(qreal cornerRadius READ cornerRadius WRITE setCornerRadius NOTIFY changed)
    Q_PROPERTY(qreal borderWidth READ borderWidth WRITE setBorderWidth NOTIFY changed)
    // White with alpha 0 until one is written.
    Q_PROPERTY(QColor borderColor READ borderColor WRITE setBorderColor NOTIFY changed)
    // A slider's handle picture, at rest and while held; null goes back to the
    // style's own handle.
    Q_PROPERTY(QVariant thumbImage READ thumbImage WRITE setThumbImage NOTIFY changed)
    Q_PROPERTY(QVariant highlightedThumbImage READ highlightedThumbImage WRITE
                   setHighlightedThumbImage NOTIFY changed)
    // The track colours of the first slider among the item's children (a
    // volume control). Without one the read is null and a write goes nowhere.
    Q_PROPERTY(QVariant minTrack READ minTrack WRITE setMinTrack NOTIFY changed)
    Q_PROPERTY(QVariant maxTrack READ maxTrack WRITE setMaxTrack NOTIFY changed)

public:
    explicit ViewAttributes(QObject* target);
    ~ViewAttributes() override;

    static ViewAttributes* qmlAttachedProperties(QObject* target);

    QVariant localizedText() const;
    void setLocalizedText(const QVariant& key);
    QVariant localizedPlaceholder() const;
    void setLocalizedPlaceholder(const QVariant& key);
    QVariant localizedTitle() const;
    void setLocalizedTitle(const QVariant& key);
    QVariant placeholderColor() const;
    void setPlaceholderColor(const QVariant& color);
    qreal horizontalPadding() const;
    void setHorizontalPadding(qreal padding);
    qreal cornerRadius() const;
    void setCornerRadius(qreal radius);
    qreal borderWidth() const;
    void setBorderWidth(qreal width);
    QColor borderColor() const;
    void setBorderColor(const QColor& color);
    QVariant thumbImage() const;
    void setThumbImage(const QVariant& source);
    QVariant highlightedThumbImage() const;
    void setHighlightedThumbImage(const QVariant& source);
    QVariant minTrack() const;
    void setMinTrack(const QVariant& color);
    QVariant maxTrack() const;
    void setMaxTrack(const QVariant& color);

    // A text field's clear control: empties the text, whoever sends it.
    Q_INVOKABLE void clearWithSender(const QVariant& sender = {});

signals:
    void changed();

private:
    enum class Track { minimum, maximum };

    // A property of the item (`name`) or of `object` by its QML path
    // ("border.width"); a write logs what did not apply.
    static QVariant read(const QObject* object, const QString& path);
    QVariant read(const char* name) const;
    bool write(QObject* object, const QString& path, const QVariant& value, const char* attribute);
    bool write(const char* name, const QVariant& value, const char* attribute);
    // The item that draws the frame: the item itself when it has a radius,
    // else its background (controls).
    QObject* layer() const;
    // The path of a frame property ("border.width") on that item.
    QString framePath(const char* name) const;
    QObject* firstSlider() const;
    // Where a slider keeps one of its track colours.
    static QString trackPath(const QObject* slider, Track which);
    QVariant track(Track which) const;
    void setTrack(Track which, const QVariant& color);

private slots:
    // The picture for the handle's present state (held or at rest).
    void updateThumb();

private:
    QPointer<QObject> m_target;
    QMatrix4x4 m_sublayerTransform;
    QPointer<SublayerTranslation> m_translation;
    bool m_borderColorSet = false;
    QUrl m_thumbImage;
    QUrl m_highlightedThumbImage;
    QPointer<QQuickItem> m_thumb;
    std::optional<qreal> m_handleOpacity;
};
