#pragma once

#include <QPointF>
#include <QRectF>
#include <optional>

#include "DialogDismissDirection.h"

// The states a drag recogniser reports, with their usual numbers.
enum class DialogPanState {
    possible = 0,
    began = 1,
    changed = 2,
    ended = 3,
    cancelled = 4,
    failed = 5
};

// How the card moves once a drag callback has placed it.
enum class DialogMove {
    none,       // stays where the drag put it
    snapBack,   // springs home (SpringCurve::snapBack)
    flingUp,    // leaves over the top over the animation duration, then the dialog closes
    flingDown,  // the same past the bottom
    jumpHome,   // home at once, no animation
};

struct DialogPanStep {
    bool moved = false;  // false when dragging is off: the card was not touched
    QPointF dragged;     // where the finger put the card
    DialogMove move = DialogMove::none;
    QPointF target;  // where `move` takes the card; equals `dragged` for none
};

struct DialogBounce {
    QPointF out;   // first leg, from the card's drag origin
    QPointF back;  // second leg: home
    double legDuration = 0;
};

// Where the dialog's card stands and where it goes: the arithmetic of its
// entry, drags, flings and offset, apart from any window. Positions are card
// centres in the dialog view's parent coordinates, as the card is moved by its
// centre. `center()` is where the card ends up once the last move given out
// has run, which is what later drags measure against.
class DialogMotion {
public:
    // The dialog view's frame, the card's height and the height of the image
    // in its header (0 without one).
    void setLayout(const QRectF& viewFrame, double cardHeight, double imageHeight);

    bool allowDragGesture = true;
    bool rubberEnabled = true;
    DialogDismissDirection dismissDirection = DialogDismissDirection::both;

    double contentOffset() const { return m_contentOffset; }
    // Moves a loaded card to its new home and returns that point, to animate
    // to over the animation duration; before the load only stores the offset.
    std::optional<QPointF> setContentOffset(double offset);

    // The card is there: it rests at home and drags start from home.
    void cardLoaded();
    bool isCardLoaded() const { return m_loaded; }

    QPointF homePosition() const;
    // Just below the screen: where the entry starts and an animated dismissal
    // ends. The card keeps its x.
    QPointF belowScreen() const;
    // Where the entry starts, the first time only; it ends at home, where the
    // card then stands.
    std::optional<QPointF> beginEntry();
    // Where an animated dismissal takes the card.
    QPointF beginDismissal();

    QPointF center() const { return m_center; }
    QPointF lastLocation() const { return m_lastLocation; }
    // A finger came down on the card or a section: drags are measured from here.
    void touchBegan() { m_lastLocation = m_center; }

    // The card's y for a vertical drag of `translation` from lastLocation.
    double dragY(double translation) const;
    // What a release at this velocity, in points a second, does.
    DialogMove release(QPointF velocity) const;
    // Where a move ends, from the present layout and offset.
    QPointF targetOf(DialogMove move) const;
    // One recogniser callback; the velocity is read only when it has ended. A
    // callback with a value that is not a number is logged and leaves the
    // card where it is.
    DialogPanStep pan(DialogPanState state, double translation, QPointF velocity = {});

    // A nudge of the card by `offset` and back home, over `duration` in all;
    // nothing without a card.
    std::optional<DialogBounce> bounce(double offset, double duration);

private:
    QRectF m_viewFrame;
    double m_cardHeight = 0;
    double m_imageHeight = 0;
    double m_contentOffset = 0;
    bool m_loaded = false;
    bool m_entered = false;
    QPointF m_center;
    QPointF m_lastLocation;
};
