#include "SortableViewController.h"

SortableViewControllerBase::SortableViewControllerBase(QObject* parent) : ViewController(parent) {}

void SortableViewControllerBase::setMediaLibrary(bool mediaLibrary) {
    if (m_mediaLibrary == mediaLibrary) {
        return;
    }
    m_mediaLibrary = mediaLibrary;
    emit mediaLibraryChanged();
}

void SortableViewControllerBase::setSavedContentY(qreal y) {
    if (qFuzzyCompare(m_savedContentY, y)) {
        return;
    }
    m_savedContentY = y;
    emit savedContentYChanged();
}

void SortableViewControllerBase::setSearchVisible(bool visible) {
    if (m_searchVisible == visible) {
        return;
    }
    m_searchVisible = visible;
    emit searchVisibleChanged();
}
