#include "ViewAttributes.h"

#include <QLoggingCategory>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickTransform>
#include <optional>

#include "Localization.h"

Q_LOGGING_CATEGORY(lcBundle, "corvantis.bundle")

// The translation of an item's children, as one matrix shared by all of them.
class SublayerTranslation : public QQuickTransform {
public:
    explicit SublayerTranslation(QObject* parent) : QQuickTransform(parent) {}

    void setMatrix(const QMatrix4x4& matrix) {
        m_matrix = matrix;
        update();
    }
    void applyTo(QMatrix4x4* matrix) const override { *matrix *= m_matrix; }

private:
    QMatrix4x4 m_matrix;
};

namespace {

bool isNil(const QVariant& value) {
    return !value.isValid() || value.isNull();
}

QString localized(const QVariant& key) {
    return isNil(key) ? QString() : Localization::text(key.toString().toUtf8().constData());
}

std::optional<QColor> toColor(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QColor>()) {
        return value.value<QColor>();
    }
    const QColor color = QColor::fromString(value.toString());
    if (!color.isValid()) {
        return std::nullopt;
    }
    return color;
}

bool hasProperty(const QObject* object, const char* name) {
    return object != nullptr && object->metaObject()->indexOfProperty(name) >= 0;
}

QObject* objectProperty(const QObject* object, const char* name) {
    if (!hasProperty(object, name)) {
        return nullptr;
    }
    return object->property(name).value<QObject*>();
}

QVariant colorOrNil(const QVariant& value) {
    const QColor color = value.value<QColor>();
    return color.isValid() ? QVariant(color) : QVariant();
}

}  // namespace

ViewAttributes::ViewAttributes(QObject* target) : QObject(target), m_target(target) {}

ViewAttributes::~ViewAttributes() = default;

ViewAttributes* ViewAttributes::qmlAttachedProperties(QObject* target) {
    return new ViewAttributes(target);
}

QVariant ViewAttributes::read(const QObject* object, const QString& path) {
    const QQmlProperty property(const_cast<QObject*>(object), path);
    return property.isValid() ? property.read() : QVariant();
}

QVariant ViewAttributes::read(const char* name) const {
    return read(m_target, QString::fromLatin1(name));
}

bool ViewAttributes::write(QObject* object, const QString& path, const QVariant& value,
                           const char* attribute) {
    QQmlProperty property(object, path);
    if (!property.isValid() || !property.isWritable() || !property.write(value)) {
        qCWarning(lcBundle).nospace()
            << attribute << " does not apply to " << m_target << ": it has no " << path;
        return false;
    }
    emit changed();
    return true;
}

bool ViewAttributes::write(const char* name, const QVariant& value, const char* attribute) {
    return write(m_target, QString::fromLatin1(name), value, attribute);
}

QVariant ViewAttributes::localizedText() const {
    return read("text");
}

void ViewAttributes::setLocalizedText(const QVariant& key) {
    write("text", localized(key), "localizedText");
}

QVariant ViewAttributes::localizedPlaceholder() const {
    return read("placeholderText");
}

void ViewAttributes::setLocalizedPlaceholder(const QVariant& key) {
    write("placeholderText", localized(key), "localizedPlaceholder");
}

QVariant ViewAttributes::localizedTitle() const {
    QObject* top = objectProperty(m_target, "topItem");
    return top != nullptr ? top->property("title") : QVariant();
}

void ViewAttributes::setLocalizedTitle(const QVariant& key) {
    if (!hasProperty(m_target, "topItem")) {
        qCWarning(lcBundle) << "localizedTitle does not apply to" << m_target
                            << ": it is not a navigation bar";
        return;
    }
    // A bar without a screen on it has no title to set.
    QObject* top = objectProperty(m_target, "topItem");
    if (top != nullptr && top->setProperty("title", localized(key))) {
        emit changed();
    }
}

QVariant ViewAttributes::placeholderColor() const {
    if (read("placeholderText").toString().isEmpty()) {
        return {};
    }
    return colorOrNil(read("placeholderTextColor"));
}

void ViewAttributes::setPlaceholderColor(const QVariant& color) {
    std::optional<QColor> chosen = isNil(color) ? QColor(Qt::white) : toColor(color);
    if (!chosen) {
        qCWarning(lcBundle) << "placeholderColor: not a colour:" << color;
        chosen = QColor(Qt::white);
    }
    write("placeholderTextColor", *chosen, "placeholderColor");
}

qreal ViewAttributes::horizontalPadding() const {
    return m_sublayerTransform(0, 0);
}

void ViewAttributes::setHorizontalPadding(qreal padding) {
    const qreal before = m_sublayerTransform(0, 3);
    m_sublayerTransform.setToIdentity();
    m_sublayerTransform.translate(static_cast<float>(padding), 0, 0);
    // A text field draws its text itself rather than in a child, so its text
    // moves by its padding instead.
    if (m_target != nullptr && m_target->inherits("QQuickTextInput")) {
        write("leftPadding", read("leftPadding").toReal() - before + padding, "horizontalPadding");
        return;
    }
    auto* item = qobject_cast<QQuickItem*>(m_target);
    if (item == nullptr) {
        qCWarning(lcBundle) << "horizontalPadding does not apply to" << m_target;
        return;
    }
    if (m_translation == nullptr) {
        m_translation = new SublayerTranslation(this);
        const auto content = qobject_cast<QQuickItem*>(objectProperty(item, "contentItem"));
        for (QQuickItem* child : content ? QList<QQuickItem*>{content} : item->childItems()) {
            m_translation->appendToItem(child);
        }
    }
    m_translation->setMatrix(m_sublayerTransform);
    emit changed();
}

QObject* ViewAttributes::layer() const {
    if (hasProperty(m_target, "radius")) {
        return m_target;
    }
    QObject* background = objectProperty(m_target, "background");
    return background != nullptr ? background : m_target.data();
}

QString ViewAttributes::framePath(const char* name) const {
    // A frame without a grouped border (GradientFill) has its border flat.
    const QString path = QString::fromLatin1(name);
    if (!path.startsWith(QLatin1String("border.")) || hasProperty(layer(), "border")) {
        return path;
    }
    return QStringLiteral("border") + path.mid(7, 1).toUpper() + path.mid(8);
}

qreal ViewAttributes::cornerRadius() const {
    return read(layer(), QStringLiteral("radius")).toReal();
}

void ViewAttributes::setCornerRadius(qreal radius) {
    write(layer(), QStringLiteral("radius"), radius, "cornerRadius");
}

qreal ViewAttributes::borderWidth() const {
    return read(layer(), framePath("border.width")).toReal();
}

void ViewAttributes::setBorderWidth(qreal width) {
    write(layer(), framePath("border.width"), width, "borderWidth");
}

QColor ViewAttributes::borderColor() const {
    if (!m_borderColorSet) {
        return QColor(255, 255, 255, 0);
    }
    return read(layer(), framePath("border.color")).value<QColor>();
}

void ViewAttributes::setBorderColor(const QColor& color) {
    if (write(layer(), framePath("border.color"), color, "borderColor")) {
        m_borderColorSet = true;
    }
}

QVariant ViewAttributes::thumbImage() const {
    return m_thumbImage.isEmpty() ? QVariant() : QVariant(m_thumbImage);
}

void ViewAttributes::setThumbImage(const QVariant& source) {
    m_thumbImage = isNil(source) ? QUrl() : source.toUrl();
    updateThumb();
}

QVariant ViewAttributes::highlightedThumbImage() const {
    return m_highlightedThumbImage.isEmpty() ? QVariant() : QVariant(m_highlightedThumbImage);
}

void ViewAttributes::setHighlightedThumbImage(const QVariant& source) {
    m_highlightedThumbImage = isNil(source) ? QUrl() : source.toUrl();
    updateThumb();
}

void ViewAttributes::updateThumb() {
    auto* handle = qobject_cast<QQuickItem*>(objectProperty(m_target, "handle"));
    if (handle == nullptr || !hasProperty(m_target, "pressed")) {
        qCWarning(lcBundle) << "thumb images do not apply to" << m_target << ": it is no slider";
        return;
    }
    if (m_thumbImage.isEmpty() && m_highlightedThumbImage.isEmpty()) {
        delete m_thumb;
        if (m_handleOpacity) {
            handle->setOpacity(*m_handleOpacity);
            m_handleOpacity.reset();
        }
        emit changed();
        return;
    }
    if (m_thumb == nullptr) {
        QQmlEngine* engine = qmlEngine(m_target);
        if (engine == nullptr) {
            qCWarning(lcBundle) << "thumb images need a QML item:" << m_target;
            return;
        }
        // The picture takes the handle's place and follows it along the track;
        // the style's own handle stays for its size and input but is not drawn.
        QQmlComponent component(engine);
        component.setData(
            "import QtQuick\n"
            "Image {\n"
            "    required property Item handle\n"
            "    x: handle.x + (handle.width - width) / 2\n"
            "    y: handle.y + (handle.height - height) / 2\n"
            "    z: handle.z + 1\n"
            "    cache: false\n"
            "}\n",
            QUrl(QStringLiteral("qrc:/Corvantis/Shell/ThumbImage.qml")));
        QObject* made = component.createWithInitialProperties(
            {{QStringLiteral("handle"), QVariant::fromValue(handle)}}, qmlContext(m_target));
        m_thumb = qobject_cast<QQuickItem*>(made);
        if (m_thumb == nullptr) {
            qCWarning(lcBundle) << "the thumb image could not be made:" << component.errorString();
            delete made;
            return;
        }
        m_thumb->setParent(m_target);
        m_thumb->setParentItem(qobject_cast<QQuickItem*>(m_target));
        m_handleOpacity = handle->opacity();
        handle->setOpacity(0);
        QQmlProperty(m_target, QStringLiteral("pressed"))
            .connectNotifySignal(this, SLOT(updateThumb()));
    }
    const bool held = m_target->property("pressed").toBool();
    m_thumb->setProperty("source", held && !m_highlightedThumbImage.isEmpty()
                                       ? m_highlightedThumbImage
                                       : m_thumbImage);
    emit changed();
}

QObject* ViewAttributes::firstSlider() const {
    auto* item = qobject_cast<QQuickItem*>(m_target);
    if (item == nullptr) {
        return nullptr;
    }
    for (QQuickItem* child : item->childItems()) {
        if (child->inherits("QQuickSlider")) {
            return child;
        }
    }
    return nullptr;
}

QString ViewAttributes::trackPath(const QObject* slider, Track which) {
    const char* own = which == Track::minimum ? "minimumTrackTintColor" : "maximumTrackTintColor";
    if (hasProperty(slider, own)) {
        return QString::fromLatin1(own);
    }
    // Sliders of the shipped styles paint the filled part with the palette's
    // dark and the rest with its midlight.
    return which == Track::minimum ? QStringLiteral("palette.dark")
                                   : QStringLiteral("palette.midlight");
}

QVariant ViewAttributes::track(Track which) const {
    const QObject* slider = firstSlider();
    return slider != nullptr ? colorOrNil(read(slider, trackPath(slider, which))) : QVariant();
}

void ViewAttributes::setTrack(Track which, const QVariant& color) {
    QObject* slider = firstSlider();
    if (slider == nullptr) {
        // The volume control builds its slider late; until then there is
        // nothing to colour.
        return;
    }
    const QString path = trackPath(slider, which);
    const char* attribute = which == Track::minimum ? "minTrack" : "maxTrack";
    if (isNil(color)) {
        // Back to the style's own colour, where the slider can tell it.
        if (QQmlProperty(slider, path).reset()) {
            emit changed();
        } else {
            write(slider, path, QColor(), attribute);
        }
        return;
    }
    const std::optional<QColor> chosen = toColor(color);
    if (!chosen) {
        qCWarning(lcBundle) << attribute << ": not a colour:" << color;
        return;
    }
    write(slider, path, *chosen, attribute);
}

QVariant ViewAttributes::minTrack() const {
    return track(Track::minimum);
}

void ViewAttributes::setMinTrack(const QVariant& color) {
    setTrack(Track::minimum, color);
}

QVariant ViewAttributes::maxTrack() const {
    return track(Track::maximum);
}

void ViewAttributes::setMaxTrack(const QVariant& color) {
    setTrack(Track::maximum, color);
}

void ViewAttributes::clearWithSender(const QVariant&) {
    write("text", QString(), "clearWithSender");
}
