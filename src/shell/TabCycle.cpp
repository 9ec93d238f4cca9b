#include "TabCycle.h"

#include <QKeyEvent>

namespace {

// The focus chain runs through the whole window and comes round; the bound
// only keeps a chain that never enters the scope from turning for ever.
constexpr int kMaxSteps = 5000;

}  // namespace

TabCycle::TabCycle(QQuickItem* parent) : QQuickItem(parent) {}

TabCycle::~TabCycle() {
    watch(nullptr);
}

void TabCycle::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemSceneChange) {
        watch(data.window);
    }
    QQuickItem::itemChange(change, data);
}

void TabCycle::watch(QQuickWindow* window) {
    if (m_window == window) {
        return;
    }
    if (m_window) {
        m_window->removeEventFilter(this);
    }
    m_window = window;
    if (m_window) {
        m_window->installEventFilter(this);
    }
}

bool TabCycle::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_window || event->type() != QEvent::KeyPress || !isEnabled()) {
        return false;
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) {
        return false;
    }
    bool forward = true;
    if (key->key() == Qt::Key_Backtab ||
        (key->key() == Qt::Key_Tab && (key->modifiers() & Qt::ShiftModifier))) {
        forward = false;
    } else if (key->key() != Qt::Key_Tab) {
        return false;
    }
    QQuickItem* scope = parentItem();
    QQuickItem* focused = m_window->activeFocusItem();
    if (!scope || !focused || (focused != scope && !scope->isAncestorOf(focused))) {
        return false;
    }
    QQuickItem* next = nextStop(focused, forward);
    if (!next) {
        return false;
    }
    next->forceActiveFocus(forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

QQuickItem* TabCycle::nextStop(QQuickItem* from, bool forward) const {
    QQuickItem* scope = parentItem();
    QQuickItem* item = from;
    for (int step = 0; step < kMaxSteps; ++step) {
        item = item->nextItemInFocusChain(forward);
        if (!item || item == from) {
            return item == from && item != scope ? item : nullptr;
        }
        if (item != scope && scope->isAncestorOf(item)) {
            return item;
        }
    }
    return nullptr;
}
