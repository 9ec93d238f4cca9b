#include "DialogViewController.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPalette>
#include <QTextDocumentFragment>
#include <cmath>
#include <limits>
#include <utility>

#include "DialogDefaults.h"
#include "FontBook.h"
#include "Log.h"
#include "Navigation.h"
#include "WindowGeometry.h"

namespace {

Q_LOGGING_CATEGORY(lcDialog, "corvantis.dialog")

// Stores `value` and says whether that changed anything, so setters notify
// only on a real change.
template <typename T>
bool replaced(T& field, const T& value) {
    if (field == value) {
        return false;
    }
    field = value;
    return true;
}

// The font a label falls back to when its design name is unknown: the
// system's, at the asked size.
QFont fontOrSystem(const QString& name, qreal pixelSize) {
    if (auto font = FontBook::font(name, pixelSize)) {
        return *font;
    }
    QFont system = QGuiApplication::font();
    system.setPixelSize(std::max(1, qRound(pixelSize)));
    return system;
}

// The message has no fallback: a dialog whose text font is missing was
// written wrong, and stopping shows where.
QFont requiredFont(const QString& name, qreal pixelSize) {
    auto font = FontBook::font(name, pixelSize);
    if (!font) {
        qFatal("Unknown font %s", qPrintable(name));
    }
    return *font;
}

// The height a centred, word-wrapped label of any number of lines takes
// at `width`.
qreal wrappedHeight(const QString& text, const QFont& font, qreal width) {
    if (text.isEmpty()) {
        return 0;
    }
    const QRectF frame(0, 0, width, std::numeric_limits<qreal>::max() / 4);
    return QFontMetricsF(font)
        .boundingRect(frame, Qt::AlignHCenter | Qt::TextWordWrap, text)
        .height();
}

DialogButtonLook defaultButtonLook(qreal height) {
    const QColor tint = QGuiApplication::palette().color(QPalette::Highlight);
    DialogButtonLook look;
    look.titleColor = tint;
    look.borderColor = tint;
    look.borderWidth = 1;
    look.cornerRadius = height / 2;
    return look;
}

// A colour left unset stays out of the map, so the view's fallback applies.
QVariantMap lookForView(const DialogButtonLook& look) {
    QVariantMap map{
        {QStringLiteral("title"), look.title},
        {QStringLiteral("borderWidth"), look.borderWidth},
        {QStringLiteral("cornerRadius"), look.cornerRadius},
    };
    const std::pair<const char*, QColor> colors[] = {{"titleColor", look.titleColor},
                                                     {"borderColor", look.borderColor},
                                                     {"backgroundColor", look.backgroundColor}};
    for (const auto& [key, color] : colors) {
        if (color.isValid()) {
            map.insert(QLatin1String(key), color);
        }
    }
    return map;
}

}  // namespace

DialogViewController::DialogViewController(QObject* parent)
    : ViewController(parent),
      m_windowSize(WindowGeometry::kDefaultWidth, WindowGeometry::kDefaultHeight),
      m_widthRatio(DialogDefaults::defaultWidthRatio) {
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Shell/DialogView.qml")));
    setModalPresentationStyle(ModalPresentationStyle::overCurrentContext);
    // The forecast height may be asked for before the dialog shows.
    adoptWindowMetrics();
}

DialogViewController::DialogViewController(const Options& options, QObject* parent)
    : DialogViewController(parent) {
    ViewController::setTitle(options.title);
    if (!options.message.isNull()) {
        m_message = options.message;
    }
    if (!options.attributedMessage.isNull()) {
        m_attributedMessage = options.attributedMessage;
    }
    m_fontName = options.fontName;
    m_fontNameBold = options.fontNameBold;
    m_spacing = options.spacing;
    m_stackSpacing = options.stackSpacing;
    m_sideSpacing = options.sideSpacing;
    m_titleFontSize = options.titleFontSize;
    m_messageFontSize = options.messageFontSize;
    m_buttonHeight = options.buttonHeight;
    m_cancelButtonHeight = options.cancelButtonHeight;
    if (options.widthRatio) {
        m_widthRatio = *options.widthRatio;
    }
}

DialogViewController::~DialogViewController() = default;

// Screen measures

void DialogViewController::setWindowSize(const QSizeF& size) {
    if (replaced(m_windowSize, size)) {
        emit screenChanged();
    }
}

void DialogViewController::setParentSafeArea(const QMarginsF& insets) {
    if (replaced(m_parentSafeArea, insets)) {
        emit screenChanged();
    }
}

bool DialogViewController::isTablet() const {
    return std::min(m_windowSize.width(), m_windowSize.height()) >= kTabletShortSide;
}

qreal DialogViewController::shortSide() const {
    const qreal side = std::min(m_windowSize.width(), m_windowSize.height());
    return isTablet() ? side / 2 : side;
}

qreal DialogViewController::longSide() const {
    const QMarginsF& inset = m_parentSafeArea;
    const qreal side = std::max(m_windowSize.width(), m_windowSize.height()) -
                       (inset.left() + inset.top() + inset.right() + inset.bottom());
    return isTablet() ? side / 2 : side;
}

// Building

qreal DialogViewController::headerSize(bool hasImage) const {
    if (!hasImage) {
        return 0;
    }
    const qreal side = shortSide();
    return std::floor((side - 2 * side * 0.125) / 3);
}

qreal DialogViewController::generalStackTop() const {
    // The disc's top stands a third of it above the card.
    const qreal holderBottom = m_imageSize - m_imageSize / 3;
    return holderBottom + m_spacing + m_spacing * (m_hasImage ? 0 : 1);
}

void DialogViewController::adoptWindowMetrics() {
    // Without a window (controllers tested on their own) the size given
    // by hand stands.
    const Navigation& navigation = Navigation::shared();
    if (!navigation.isWindowAttached() || navigation.windowSize().isEmpty()) {
        return;
    }
    setWindowSize(navigation.windowSize());
    setParentSafeArea(navigation.safeAreaInsets());
}

void DialogViewController::viewDidLoad() {
    ViewController::viewDidLoad();
    // Every derived size comes from the window the dialog opens in.
    adoptWindowMetrics();
    const qreal side = longSide();
    if (m_spacing == -1) {
        m_spacing = side * DialogDefaults::spacingRatio;
    }
    m_hasImage = imageHandler ? imageHandler(m_image) : false;
    if (!m_hasImage) {
        m_image.clear();
    }
    m_imageSize = headerSize(m_hasImage);

    if (m_titleFontSize == 0) {
        m_titleFontSize = side * DialogDefaults::titleFontSizeRatio;
    }
    m_builtSeparatorHeight = showSeparator ? DialogDefaults::separatorHeight : 0;
    if (m_messageFontSize == 0) {
        m_messageFontSize = side * DialogDefaults::messageFontSizeRatio;
    }
    requiredFont(m_fontName, m_messageFontSize);
    if (!FontBook::isKnown(m_fontNameBold)) {
        qCWarning(lcDialog).noquote()
            << "Unknown title font" << m_fontNameBold << "- using the system font";
    }

    m_buttonStackWidthRatio = DialogDefaults::buttonStackWidthRatio;
    m_buttons.clear();
    for (int i = 0; i < m_actions.size(); ++i) {
        m_buttons.append(makeButton(i));
    }
    buildCancelButton();

    m_leftToolLook = {};
    m_leftToolUsed = leftToolStyle && leftToolStyle(m_leftToolLook);
    m_rightToolLook = {};
    m_rightToolUsed = rightToolStyle && rightToolStyle(m_rightToolLook);

    emit layoutChanged();
    emit buttonsChanged();
    emit cancelButtonChanged();
    emit imageChanged();
}

DialogButton DialogViewController::makeButton(int index) {
    if (m_buttonHeight == 0) {
        m_buttonHeight = std::floor(longSide() * DialogDefaults::buttonHeightRatio);
    }
    DialogButton button;
    std::optional<DialogButtonLook> custom = buttonInit ? buttonInit(index) : std::nullopt;
    button.look = custom ? *custom : defaultButtonLook(m_buttonHeight);
    const auto& action = m_actions.value(index);
    button.look.title = action && action->title ? *action->title : QString();
    button.height = m_buttonHeight;
    button.heightGivesWay = m_actions.size() == 1 && index == 0;
    if (buttonStyle) {
        buttonStyle(button.look, m_buttonHeight, index);
    }
    button.tag = index;
    return button;
}

void DialogViewController::buildCancelButton() {
    if (m_cancelButtonHeight == 0) {
        m_cancelButtonHeight = longSide() * DialogDefaults::cancelButtonHeightRatio;
    }
    m_cancelLook = {};
    m_cancelLook.title = m_cancelTitle;
    const bool styled = cancelButtonStyle && cancelButtonStyle(m_cancelLook, m_cancelButtonHeight);
    const bool shown = styled && m_cancelEnabled && m_cancelButtonHeight > 0;
    m_cancelButtonHidden = !shown;
    m_cancelButtonShownHeight = shown ? m_cancelButtonHeight : 0;
}

QFont DialogViewController::titleFont() const {
    return fontOrSystem(m_fontNameBold, m_titleFontSize);
}

QFont DialogViewController::messageFont() const {
    return requiredFont(m_fontName, m_messageFontSize);
}

QFont DialogViewController::buttonFont() const {
    return fontOrSystem(m_fontName, m_buttonHeight * 0.35);
}

QFont DialogViewController::cancelFont() const {
    return fontOrSystem(m_fontName, m_cancelButtonHeight * 0.433);
}

// Texts and image

void DialogViewController::setTitle(const QString& title) {
    ViewController::setTitle(title);
    if (!isViewLoaded()) {
        return;
    }
    const bool hidden = title.isEmpty();
    if (hidden != m_titleHidden) {
        m_titleHidden = hidden;
        emit titleHiddenChanged();
    }
    emit layoutAnimationRequested();
}

void DialogViewController::setMessage(const QString& message) {
    if (m_message != message || m_message.isNull() != message.isNull()) {
        m_message = message;
        emit messageChanged();
    }
    if (!isViewLoaded()) {
        return;
    }
    const bool hidden = message.isEmpty();
    if (hidden != m_messageHidden) {
        m_messageHidden = hidden;
        emit messageHiddenChanged();
    }
    emit layoutAnimationRequested();
}

void DialogViewController::setImage(const QUrl& image) {
    if (!isViewLoaded()) {
        return;
    }
    const bool had = !m_image.isEmpty();
    if (image.isEmpty()) {
        if (!had) {
            return;
        }
        m_image.clear();
        emit imageChanged();
        updateImageHeader(false);
        return;
    }
    m_image = image;
    emit imageChanged();
    if (!had) {
        updateImageHeader(true);
    }
}

void DialogViewController::updateImageHeader(bool hasImage) {
    m_hasImage = hasImage;
    m_imageSize = headerSize(hasImage);
    emit layoutChanged();
    emit layoutAnimationRequested();
}

// Actions

void DialogViewController::addAction(std::shared_ptr<DialogAction> action) {
    m_actions.append(std::move(action));
    if (!isViewLoaded()) {
        return;
    }
    m_buttons.append(makeButton(m_actions.size() - 1));
    emit buttonsChanged();
    emit layoutAnimationRequested();
}

void DialogViewController::removeActionAt(int index) {
    if (index < 0 || index >= m_actions.size()) {
        return;
    }
    m_actions.removeAt(index);
    m_buttons.removeIf([index](const DialogButton& button) { return button.tag == index; });
    for (int i = 0; i < m_buttons.size(); ++i) {
        m_buttons[i].tag = i;
    }
    emit buttonsChanged();
    emit layoutAnimationRequested();
}

void DialogViewController::removeAllActions() {
    m_actions.clear();
    m_buttons.clear();
    emit buttonsChanged();
    emit layoutAnimationRequested();
}

QVariantList DialogViewController::buttonsForView() const {
    QVariantList list;
    for (const DialogButton& button : m_buttons) {
        QVariantMap map = lookForView(button.look);
        map.insert(QStringLiteral("tag"), button.tag);
        map.insert(QStringLiteral("height"), button.height);
        map.insert(QStringLiteral("heightGivesWay"), button.heightGivesWay);
        list.append(map);
    }
    return list;
}

QColor DialogViewController::orColor(const QColor& color, const QColor& fallback) {
    return color.isValid() ? color : fallback;
}

QString DialogViewController::plainText(const QString& richText) {
    return QTextDocumentFragment::fromHtml(richText).toPlainText();
}

QVariantMap DialogViewController::leftToolForView() const {
    return lookForView(m_leftToolLook);
}

QVariantMap DialogViewController::rightToolForView() const {
    return lookForView(m_rightToolLook);
}

QVariantMap DialogViewController::cancelButtonForView() const {
    return lookForView(m_cancelLook);
}

void DialogViewController::handleAction(int tag) {
    if (tag < 0 || tag >= m_actions.size() || !m_actions.at(tag)) {
        qFatal("No dialog action at %d", tag);
    }
    // The handler may remove actions; keep this one alive while it runs.
    const std::shared_ptr<DialogAction> action = m_actions.at(tag);
    if (action->handler) {
        action->handler(*this);
    }
}

void DialogViewController::handleLeftTool() {
    if (leftToolAction) {
        leftToolAction();
    }
}

void DialogViewController::handleRightTool() {
    if (rightToolAction) {
        rightToolAction();
    }
}

void DialogViewController::cancelAction() {
    dismissViewController(true);
}

bool DialogViewController::shouldInteractWithUrl(const QUrl& url) {
    if (auto target = delegate.lock(); target && !url.isEmpty()) {
        target->dialogShouldInteract(*this, url);
    }
    return false;
}

// Sections

DialogViewController& DialogViewController::sectionWithView(const QUrl& component) {
    if (!isViewLoaded()) {
        systemLog(
            QStringLiteral("Dialog has not been displayed yet. Make sure to display it "
                           "using \"show()\" before creating a section."));
        return *this;
    }
    m_sections.append(component);
    emit sectionsChanged();
    return *this;
}

void DialogViewController::removeSection(int index) {
    if (index < 0 || index >= m_sections.size()) {
        return;
    }
    m_sections.removeAt(index);
    emit sectionsChanged();
}

// Height

void DialogViewController::setCardHeight(qreal height) {
    if (replaced(m_cardHeight, height)) {
        emit cardHeightChanged();
    }
}

qreal DialogViewController::estimatedHeight() const {
    return isViewLoaded() ? m_cardHeight : forecastHeight();
}

qreal DialogViewController::forecastHeight() const {
    const qreal width = m_windowSize.width();
    const qreal height = m_windowSize.height();
    const qreal unit = height * DialogDefaults::spacingRatio;

    const qreal w = width - 2 * (width * 0.125);
    const bool withImage = !m_image.isEmpty();
    const qreal size = withImage ? std::floor(w / 3) : 0;
    const int noImageFlag = withImage ? 0 : 1;
    const qreal textWidth = w - 20;

    // Stricter than the build: here a wrong text font stops at once.
    const QFont messageFont =
        requiredFont(m_fontName, height * DialogDefaults::messageFontSizeRatio);
    qreal titleHeight = 0;
    if (!title().isNull()) {
        const QFont font =
            requiredFont(m_fontNameBold, height * DialogDefaults::titleFontSizeRatio);
        titleHeight = wrappedHeight(title(), font, textWidth);
    }

    const bool separator = showSeparator && DialogDefaults::separatorHeight > 0;
    const qreal separatorHeight = separator ? DialogDefaults::separatorHeight : 0;

    QString messageText = m_message;
    if (messageText.isNull() && !m_attributedMessage.isNull()) {
        messageText = plainText(m_attributedMessage);
    }
    const qreal messageHeight = wrappedHeight(messageText, messageFont, textWidth);

    const qsizetype count = m_actions.size();
    const qreal buttonHeight = std::floor(height * DialogDefaults::buttonHeightRatio);
    const qreal buttons = count > 0 ? buttonHeight * count + m_stackSpacing * (count - 1) : 0;

    const qreal cancel = m_cancelEnabled ? height * DialogDefaults::cancelButtonHeightRatio : 0;

    const int flags =
        noImageFlag + (separator ? 1 : 0) + (messageHeight > 0 ? 1 : 0) + (buttons > 0 ? 2 : 0);
    return 3 * unit + unit * flags + 2 * size / 3 + titleHeight + separatorHeight + messageHeight +
           buttons + cancel;
}

// Live settings

void DialogViewController::setContainerSource(const QUrl& source) {
    if (replaced(m_containerSource, source)) {
        emit containerSourceChanged();
    }
}

void DialogViewController::setCustomViewSizeRatio(qreal ratio) {
    if (!replaced(m_customViewSizeRatio, ratio)) {
        return;
    }
    emit customViewSizeRatioChanged();
    if (isViewLoaded()) {
        emit layoutAnimationRequested();
    }
}

void DialogViewController::setSeparatorColor(const QColor& color) {
    if (replaced(m_separatorColor, color)) {
        emit separatorColorChanged();
    }
}

void DialogViewController::setTitleColor(const QColor& color) {
    if (replaced(m_titleColor, color)) {
        emit titleColorChanged();
    }
}

void DialogViewController::setMessageColor(const QColor& color) {
    if (replaced(m_messageColor, color)) {
        emit messageColorChanged();
    }
}

void DialogViewController::setAlertBackgroundColor(const QColor& color) {
    if (replaced(m_alertBackgroundColor, color)) {
        emit alertBackgroundColorChanged();
    }
}

void DialogViewController::setCancelTitle(const QString& title) {
    if (!replaced(m_cancelTitle, title)) {
        return;
    }
    m_cancelLook.title = title;
    emit cancelTitleChanged();
}

void DialogViewController::setCancelEnabled(bool enabled) {
    if (!isViewLoaded()) {
        m_cancelEnabled = enabled;
        emit cancelEnabledChanged();
        return;
    }
    // Turning it on restyles the button, but unlike the build the style's
    // answer does not decide whether it shows.
    if (enabled && m_cancelButtonHeight != 0 && cancelButtonStyle) {
        cancelButtonStyle(m_cancelLook, m_cancelButtonHeight);
    }
    m_cancelEnabled = enabled;
    m_cancelButtonShownHeight = enabled ? m_cancelButtonHeight : 0;
    m_cancelButtonHidden = !enabled;
    emit cancelEnabledChanged();
    emit cancelButtonChanged();
    emit layoutAnimationRequested();
}

void DialogViewController::setContentOffset(qreal offset) {
    m_contentOffset = offset;
    emit contentOffsetChanged();
    if (std::optional<QPointF> home = m_motion.setContentOffset(offset)) {
        emit cardMoveRequested(home->y(), animationDuration);
    }
}

// Presentation and motion

void DialogViewController::showIn(ViewController* parent, Closure completion) {
    if (parent == nullptr) {
        qFatal("A dialog needs a screen to show in");
    }
    // Before the view is built: its sizes depend on the window's insets.
    adoptWindowMetrics();
    onAppearCompletion = std::move(completion);
    parent->presentViewController(this, false);
}

void DialogViewController::viewDidAppear(bool animated) {
    ViewController::viewDidAppear(animated);
    if (didInitAnimation) {
        return;
    }
    didInitAnimation = true;
    if (std::optional<QPointF> from = m_motion.beginEntry()) {
        emit entryRequested(from->y(), m_motion.homePosition().y(), animationDuration);
    }
    // Runs as the entry is set up, not when it has ended.
    if (Closure completion = std::exchange(onAppearCompletion, nullptr)) {
        completion(*this);
    }
}

void DialogViewController::bounce(qreal offset, qreal duration) {
    if (std::optional<DialogBounce> legs = m_motion.bounce(offset, duration)) {
        emit bounceRequested(legs->out.y(), legs->back.y(), legs->legDuration);
    }
}

void DialogViewController::setViewGeometry(qreal width, qreal height, qreal cardHeight,
                                           qreal imageHeight, bool resting) {
    m_motion.setLayout(QRectF(0, 0, width, height), cardHeight, imageHeight);
    setCardHeight(cardHeight);
    if (!m_motion.isCardLoaded()) {
        m_motion.setContentOffset(m_contentOffset);
        m_motion.cardLoaded();
    } else if (resting) {
        // The window changed under a card at rest: home moved with it.
        m_motion.setContentOffset(m_contentOffset);
    }
}

void DialogViewController::syncMotionSettings() {
    m_motion.allowDragGesture = allowDragGesture;
    m_motion.rubberEnabled = rubberEnabled;
    m_motion.dismissDirection = dismissDirection;
}

void DialogViewController::touchBegan() {
    m_motion.touchBegan();
}

QVariantMap DialogViewController::handlePan(int state, qreal translation, qreal velocityX,
                                            qreal velocityY) {
    syncMotionSettings();
    const DialogPanStep step = m_motion.pan(static_cast<DialogPanState>(state), translation,
                                            QPointF(velocityX, velocityY));
    return {
        {QStringLiteral("moved"), step.moved},
        {QStringLiteral("draggedY"), step.dragged.y()},
        {QStringLiteral("move"), static_cast<int>(step.move)},
        {QStringLiteral("targetY"), step.target.y()},
    };
}

void DialogViewController::handleOutsideTap() {
    if (dismissWithOutsideTouch) {
        dismissViewController(true);
    }
}

qreal DialogViewController::beginDismissal() {
    return m_motion.beginDismissal().y();
}

qreal DialogViewController::homeY() const {
    return m_motion.homePosition().y();
}

void DialogViewController::finishFling() {
    dismissViewController(false);
}
