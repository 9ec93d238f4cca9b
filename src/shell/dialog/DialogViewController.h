#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QMarginsF>
#include <QSizeF>
#include <QUrl>
#include <QVariantList>
#include <functional>
#include <memory>
#include <optional>

#include "DialogAction.h"
#include "DialogDismissDirection.h"
#include "DialogMotion.h"
#include "ViewController.h"

// How one button looks; the default comes first and the caller's style
// function may change any of it.
struct DialogButtonLook {
    QString title;
    QColor titleColor;
    QColor borderColor;
    QColor backgroundColor;
    qreal borderWidth = 0;
    qreal cornerRadius = 0;
};

// One action button as the view draws it. `tag` is the index of the action
// it runs; a lone button gives way when the card is squeezed.
struct DialogButton {
    DialogButtonLook look;
    int tag = 0;
    qreal height = 0;
    bool heightGivesWay = false;
};

// The application's modal dialog: a card with an optional round image over
// its top edge, title, separator, message, a custom area, a column of action
// buttons, a cancel button, two corner tools and further cards (sections)
// below. Sizes left at their "derive" value (-1 spacing, 0 for the others)
// take their value from the window when the view is built, and keep it.
class DialogViewController : public ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("dialogs are made in code")
    Q_PROPERTY(QString message READ message WRITE setMessage NOTIFY messageChanged)
    Q_PROPERTY(QString attributedMessage READ attributedMessage CONSTANT)
    Q_PROPERTY(bool titleHidden READ isTitleHidden NOTIFY titleHiddenChanged)
    Q_PROPERTY(bool messageHidden READ isMessageHidden NOTIFY messageHiddenChanged)
    Q_PROPERTY(QUrl image READ image WRITE setImage NOTIFY imageChanged)
    Q_PROPERTY(qreal imageSize READ imageSize NOTIFY layoutChanged)
    Q_PROPERTY(qreal spacing READ spacing NOTIFY layoutChanged)
    Q_PROPERTY(qreal stackSpacing READ stackSpacing NOTIFY layoutChanged)
    Q_PROPERTY(qreal sideSpacing READ sideSpacing NOTIFY layoutChanged)
    Q_PROPERTY(qreal cardWidth READ cardWidth NOTIFY layoutChanged)
    Q_PROPERTY(qreal separatorHeight READ builtSeparatorHeight NOTIFY layoutChanged)
    Q_PROPERTY(qreal buttonStackWidthRatio READ buttonStackWidthRatio NOTIFY layoutChanged)
    Q_PROPERTY(QFont titleFont READ titleFont NOTIFY layoutChanged)
    Q_PROPERTY(QFont messageFont READ messageFont NOTIFY layoutChanged)
    Q_PROPERTY(QFont buttonFont READ buttonFont NOTIFY layoutChanged)
    Q_PROPERTY(QFont cancelFont READ cancelFont NOTIFY layoutChanged)
    Q_PROPERTY(QVariantList buttons READ buttonsForView NOTIFY buttonsChanged)
    Q_PROPERTY(QList<QUrl> sections READ sections NOTIFY sectionsChanged)
    Q_PROPERTY(QUrl containerSource READ containerSource WRITE setContainerSource NOTIFY
                   containerSourceChanged)
    Q_PROPERTY(qreal customViewSizeRatio READ customViewSizeRatio WRITE setCustomViewSizeRatio
                   NOTIFY customViewSizeRatioChanged)
    Q_PROPERTY(QColor separatorColor READ separatorColor WRITE setSeparatorColor NOTIFY
                   separatorColorChanged)
    Q_PROPERTY(QColor titleColor READ titleColor WRITE setTitleColor NOTIFY titleColorChanged)
    Q_PROPERTY(
        QColor messageColor READ messageColor WRITE setMessageColor NOTIFY messageColorChanged)
    Q_PROPERTY(QColor alertBackgroundColor READ alertBackgroundColor WRITE setAlertBackgroundColor
                   NOTIFY alertBackgroundColorChanged)
    Q_PROPERTY(QString cancelTitle READ cancelTitle WRITE setCancelTitle NOTIFY cancelTitleChanged)
    Q_PROPERTY(
        bool cancelEnabled READ cancelEnabled WRITE setCancelEnabled NOTIFY cancelEnabledChanged)
    Q_PROPERTY(bool cancelButtonHidden READ isCancelButtonHidden NOTIFY cancelButtonChanged)
    Q_PROPERTY(
        qreal cancelButtonShownHeight READ cancelButtonShownHeight NOTIFY cancelButtonChanged)
    Q_PROPERTY(bool leftToolUsed READ isLeftToolUsed NOTIFY layoutChanged)
    Q_PROPERTY(bool rightToolUsed READ isRightToolUsed NOTIFY layoutChanged)
    Q_PROPERTY(QVariantMap leftTool READ leftToolForView NOTIFY layoutChanged)
    Q_PROPERTY(QVariantMap rightTool READ rightToolForView NOTIFY layoutChanged)
    Q_PROPERTY(QVariantMap cancelButton READ cancelButtonForView NOTIFY cancelButtonChanged)
    Q_PROPERTY(bool blurBackground MEMBER blurBackground CONSTANT)
    Q_PROPERTY(int blurEffectStyle MEMBER blurEffectStyle CONSTANT)
    Q_PROPERTY(qreal backgroundAlpha MEMBER backgroundAlpha CONSTANT)
    Q_PROPERTY(double animationDuration MEMBER animationDuration CONSTANT)
    Q_PROPERTY(
        qreal contentOffset READ contentOffset WRITE setContentOffset NOTIFY contentOffsetChanged)
    Q_PROPERTY(qreal cardHeight READ cardHeight WRITE setCardHeight NOTIFY cardHeightChanged)
    Q_PROPERTY(qreal estimatedHeight READ estimatedHeight NOTIFY cardHeightChanged)
    Q_PROPERTY(QSizeF windowSize READ windowSize WRITE setWindowSize NOTIFY screenChanged)
    Q_PROPERTY(qreal shortSide READ shortSide NOTIFY screenChanged)
    Q_PROPERTY(qreal longSide READ longSide NOTIFY screenChanged)

public:
    using Closure = std::function<void(DialogViewController&)>;
    using ButtonStyle = std::function<void(DialogButtonLook&, qreal height, int index)>;
    using ButtonInit = std::function<std::optional<DialogButtonLook>(int index)>;
    using ToolStyle = std::function<bool(DialogButtonLook&)>;
    using ToolAction = std::function<void()>;
    using CancelStyle = std::function<bool(DialogButtonLook&, qreal height)>;
    // Puts the header's image, when there is one, and says whether it did.
    using ImageHandler = std::function<bool(QUrl& image)>;

    // A window of at least this size on its shorter side sizes the dialog
    // as on a tablet: both screen measures are halved.
    static constexpr qreal kTabletShortSide = 600;

    // What a caller decides when making a dialog. A null text is an absent
    // one.
    struct Options {
        QString title;
        QString message;
        QString attributedMessage;
        QString fontName = QStringLiteral("Avenir-Light");
        QString fontNameBold = QStringLiteral("Avenir-Black");
        qreal spacing = -1;
        qreal stackSpacing = 0;
        qreal sideSpacing = 20;
        qreal titleFontSize = 0;
        qreal messageFontSize = 0;
        qreal buttonHeight = 0;
        qreal cancelButtonHeight = 0;
        std::optional<qreal> widthRatio;
    };

    explicit DialogViewController(QObject* parent = nullptr);
    explicit DialogViewController(const Options& options, QObject* parent = nullptr);
    ~DialogViewController() override;

    // Title and message: a null string is "none"; once the view stands an
    // empty one hides its label (and the title's separator).
    void setTitle(const QString& title) override;
    QString message() const { return m_message; }
    void setMessage(const QString& message);
    // Rich text, drawn only when there is no plain message.
    QString attributedMessage() const { return m_attributedMessage; }
    bool isTitleHidden() const { return m_titleHidden; }
    bool isMessageHidden() const { return m_messageHidden; }

    // The header's image; empty until the view stands, and only then settable.
    QUrl image() const { return m_image; }
    void setImage(const QUrl& image);
    bool hasImage() const { return m_hasImage; }
    qreal imageSize() const { return m_imageSize; }

    // Actions, in the order of their buttons.
    void addAction(std::shared_ptr<DialogAction> action);
    Q_INVOKABLE void removeActionAt(int index);
    Q_INVOKABLE void removeAllActions();
    QList<std::shared_ptr<DialogAction>> actions() const { return m_actions; }
    const QList<DialogButton>& buttons() const { return m_buttons; }
    QVariantList buttonsForView() const;
    // A button's tap: runs the handler of the action its tag names.
    Q_INVOKABLE void handleAction(int tag);
    Q_INVOKABLE void handleLeftTool();
    Q_INVOKABLE void handleRightTool();
    Q_INVOKABLE void cancelAction();
    // A link tapped in the message goes to the delegate; the answer is always
    // no, so nothing opens it by itself.
    Q_INVOKABLE bool shouldInteractWithUrl(const QUrl& url);

    // Further cards under the dialog, each drawn from a component; only once
    // the dialog stands. Chainable.
    DialogViewController& sectionWithView(const QUrl& component);
    Q_INVOKABLE void removeSection(int index);
    QList<QUrl> sections() const { return m_sections; }

    // Before the view stands: a forecast from the window; after: the card's
    // height as the view reports it.
    qreal estimatedHeight() const;
    qreal cardHeight() const { return m_cardHeight; }
    void setCardHeight(qreal height);

    QSizeF windowSize() const { return m_windowSize; }
    void setWindowSize(const QSizeF& size);
    QMarginsF parentSafeArea() const { return m_parentSafeArea; }
    void setParentSafeArea(const QMarginsF& insets);
    qreal shortSide() const;
    qreal longSide() const;
    bool isTablet() const;

    // Sizes; the derived ones hold their derived value once the view stands.
    qreal spacing() const { return m_spacing; }
    qreal stackSpacing() const { return m_stackSpacing; }
    qreal sideSpacing() const { return m_sideSpacing; }
    qreal titleFontSize() const { return m_titleFontSize; }
    qreal messageFontSize() const { return m_messageFontSize; }
    qreal buttonHeight() const { return m_buttonHeight; }
    qreal cancelButtonHeight() const { return m_cancelButtonHeight; }
    qreal widthRatio() const { return m_widthRatio; }
    void setWidthRatio(qreal ratio) { m_widthRatio = ratio; }
    QString fontName() const { return m_fontName; }
    QString fontNameBold() const { return m_fontNameBold; }
    qreal cardWidth() const { return shortSide() * m_widthRatio; }
    qreal builtSeparatorHeight() const { return m_builtSeparatorHeight; }
    qreal buttonStackWidthRatio() const { return m_buttonStackWidthRatio; }
    qreal generalStackTop() const;
    QFont titleFont() const;
    QFont messageFont() const;
    QFont buttonFont() const;
    QFont cancelFont() const;

    // Settings read when the view is built or when a gesture happens.
    bool didInitAnimation = false;
    bool blurBackground = true;
    int blurEffectStyle = 2;
    bool showSeparator = true;
    bool dismissWithOutsideTouch = true;
    bool allowDragGesture = true;
    bool rubberEnabled = true;
    DialogDismissDirection dismissDirection = DialogDismissDirection::both;
    qreal backgroundAlpha = 0.2;
    double animationDuration = 0.2;
    int modalTransitionStyle = 2;
    ButtonStyle buttonStyle;
    ButtonInit buttonInit;
    ToolStyle leftToolStyle;
    ToolStyle rightToolStyle;
    ToolAction leftToolAction;
    ToolAction rightToolAction;
    CancelStyle cancelButtonStyle;
    ImageHandler imageHandler;
    Closure onAppearCompletion;
    std::weak_ptr<DialogDelegate> delegate;

    QUrl containerSource() const { return m_containerSource; }
    void setContainerSource(const QUrl& source);

    // Live once the view stands.
    qreal customViewSizeRatio() const { return m_customViewSizeRatio; }
    void setCustomViewSizeRatio(qreal ratio);
    QColor separatorColor() const { return m_separatorColor; }
    void setSeparatorColor(const QColor& color);
    QColor titleColor() const { return m_titleColor; }
    void setTitleColor(const QColor& color);
    QColor messageColor() const { return m_messageColor; }
    void setMessageColor(const QColor& color);
    QColor alertBackgroundColor() const { return m_alertBackgroundColor; }
    void setAlertBackgroundColor(const QColor& color);
    QString cancelTitle() const { return m_cancelTitle; }
    void setCancelTitle(const QString& title);
    bool cancelEnabled() const { return m_cancelEnabled; }
    void setCancelEnabled(bool enabled);
    bool isCancelButtonHidden() const { return m_cancelButtonHidden; }
    qreal cancelButtonShownHeight() const { return m_cancelButtonShownHeight; }
    bool isLeftToolUsed() const { return m_leftToolUsed; }
    bool isRightToolUsed() const { return m_rightToolUsed; }
    DialogButtonLook cancelLook() const { return m_cancelLook; }
    qreal contentOffset() const { return m_contentOffset; }
    void setContentOffset(qreal offset);

    void viewDidLoad() override;
    // The first appearance brings the card up from below the screen; later
    // ones leave it where it is.
    void viewDidAppear(bool animated) override;

    // Shows the dialog over `parent`, sized by the window `parent` is in.
    // `completion` runs once, as soon as the entry is under way.
    void showIn(ViewController* parent, Closure completion = {});
    // Nudges the card by `offset` and back home, over `duration` seconds.
    void bounce(qreal offset, qreal duration);

    // From the view. Positions are card centres in the view's coordinates.
    // The view's size and the card's height as laid out; the first report
    // puts the card at home, and so does a new size while it rests.
    Q_INVOKABLE void setViewGeometry(qreal width, qreal height, qreal cardHeight, qreal imageHeight,
                                     bool resting);
    // A finger came down on the card or one of its sections.
    Q_INVOKABLE void touchBegan();
    // One drag callback: `state` as DialogPanState, `translation` the
    // vertical distance since the drag began, the velocity in points a
    // second (read only when it has ended). Answers where the finger put
    // the card ("moved", "draggedY") and what follows ("move" as
    // DialogMove, "targetY").
    Q_INVOKABLE QVariantMap handlePan(int state, qreal translation, qreal velocityX,
                                      qreal velocityY);
    // A tap on the window around the card, and Escape, which means the same.
    Q_INVOKABLE void handleOutsideTap();
    // Where an animated dismissal takes the card.
    Q_INVOKABLE qreal beginDismissal();
    Q_INVOKABLE qreal homeY() const;
    // A fling has carried the card off: the dialog goes, with no motion of
    // its own.
    Q_INVOKABLE void finishFling();
    const DialogMotion& motion() const { return m_motion; }

    // A colour the caller left unset reads as the fallback.
    Q_INVOKABLE static QColor orColor(const QColor& color, const QColor& fallback);
    // The text of a rich message, as read aloud and measured.
    Q_INVOKABLE static QString plainText(const QString& richText);

    QVariantMap leftToolForView() const;
    QVariantMap rightToolForView() const;
    QVariantMap cancelButtonForView() const;

signals:
    void messageChanged();
    void titleHiddenChanged();
    void messageHiddenChanged();
    void imageChanged();
    void layoutChanged();
    void buttonsChanged();
    void sectionsChanged();
    void containerSourceChanged();
    void customViewSizeRatioChanged();
    void separatorColorChanged();
    void titleColorChanged();
    void messageColorChanged();
    void alertBackgroundColorChanged();
    void cancelTitleChanged();
    void cancelEnabledChanged();
    void cancelButtonChanged();
    void contentOffsetChanged();
    void cardHeightChanged();
    void screenChanged();
    // The view animates its layout to the model's new state.
    void layoutAnimationRequested();
    // The card rises from `fromY` to `toY` with the entry spring over
    // `duration` seconds, while the background darkens or blurs.
    void entryRequested(qreal fromY, qreal toY, double duration);
    // The card moves to `toY` over `duration` seconds (a new offset).
    void cardMoveRequested(qreal toY, double duration);
    // The card goes to `outY` and then home to `backY`, each leg over
    // `legDuration` seconds.
    void bounceRequested(qreal outY, qreal backY, double legDuration);

private:
    DialogButton makeButton(int index);
    void updateImageHeader(bool hasImage);
    qreal headerSize(bool hasImage) const;
    void buildCancelButton();
    qreal forecastHeight() const;
    void adoptWindowMetrics();
    void syncMotionSettings();

    QString m_message;
    QString m_attributedMessage;
    bool m_titleHidden = false;
    bool m_messageHidden = false;
    QUrl m_image;
    bool m_hasImage = false;
    qreal m_imageSize = 0;
    QList<std::shared_ptr<DialogAction>> m_actions;
    QList<DialogButton> m_buttons;
    QList<QUrl> m_sections;
    QUrl m_containerSource;
    qreal m_cardHeight = 0;
    QSizeF m_windowSize;
    QMarginsF m_parentSafeArea;
    qreal m_spacing = -1;
    qreal m_stackSpacing = 0;
    qreal m_sideSpacing = 20;
    qreal m_titleFontSize = 0;
    qreal m_messageFontSize = 0;
    qreal m_buttonHeight = 0;
    qreal m_cancelButtonHeight = 0;
    QString m_fontName = QStringLiteral("Avenir-Light");
    QString m_fontNameBold = QStringLiteral("Avenir-Black");
    qreal m_widthRatio;
    qreal m_builtSeparatorHeight = 0;
    qreal m_buttonStackWidthRatio = 0;
    qreal m_customViewSizeRatio = 0;
    QColor m_separatorColor = QColor(208, 211, 214);
    QColor m_titleColor;
    QColor m_messageColor;
    QColor m_alertBackgroundColor;
    QString m_cancelTitle = QStringLiteral("CANCEL");
    bool m_cancelEnabled = false;
    bool m_cancelButtonHidden = true;
    qreal m_cancelButtonShownHeight = 0;
    DialogButtonLook m_cancelLook;
    bool m_leftToolUsed = false;
    bool m_rightToolUsed = false;
    DialogButtonLook m_leftToolLook;
    DialogButtonLook m_rightToolLook;
    qreal m_contentOffset = 0;
    DialogMotion m_motion;
};
