#include <gtest/gtest.h>

#include "CollectionFixtures.h"
#include "SortableList.h"

namespace {

// Counts the reloads a screen would see.
template <typename List>
struct Observed {
    List list;
    int reloads = 0;
    Observed() {
        list.reloadSection = [this] { ++reloads; };
    }
};

QStringList titles(const QList<TrackPtr>& tracks) {
    QStringList result;
    for (const TrackPtr& track : tracks) {
        result.append(track->title);
    }
    return result;
}

QStringList names(const QList<Artist>& artists) {
    QStringList result;
    for (const Artist& artist : artists) {
        result.append(artist.name);
    }
    return result;
}

TrackPtr numbered(const QString& title, std::optional<int> number) {
    TrackPtr track = makeTrack(title);
    track->mediaLibraryAlbumTrackNumber = number;
    return track;
}

Artist artist(const QString& name, quint64 id = 0) {
    return Artist{id, name, std::nullopt, nullptr};
}

}  // namespace

TEST(SortableList, StartsInNormalOrderByFileNameOrTrackNumber) {
    TrackSortableList files;
    files.setItems({makeTrack("x", "A", "B", "b.wav"), makeTrack("y", "A", "B", "C.wav"),
                    makeTrack("z", "A", "B", "a.wav")});
    EXPECT_EQ(titles(files.filteredItems()), (QStringList{"z", "x", "y"}));
    EXPECT_EQ(titles(files.items()), (QStringList{"x", "y", "z"}));  // items untouched

    TrackSortableList library;
    library.mediaLibrary = true;
    library.setItems(
        {numbered("3", 3), numbered("none", std::nullopt), numbered("1", 1), numbered("zero", 0)});
    EXPECT_EQ(titles(library.filteredItems()), (QStringList{"none", "zero", "1", "3"}));
    EXPECT_EQ(library.sortType(), SORT_TYPE::NORMAL);
}

TEST(SortableList, SortButtonsOrderItemsAndThrowAwayTheSearch) {
    Observed<TrackSortableList> observed;
    TrackSortableList& list = observed.list;
    // Equal keys (same title, artist and album) tell the stable sort apart.
    const TrackPtr tie1 = makeTrack("b", "A", "B", "1.wav");
    const TrackPtr tie2 = makeTrack("b", "A", "B", "2.wav");
    list.setItems({makeTrack("c"), tie1, makeTrack("a"), tie2, makeTrack("B")});
    list.didChange(QString("b"));
    EXPECT_EQ(titles(list.filteredItems()), (QStringList{"b", "b", "B"}));

    list.didClickSort(SortButton::desc);
    EXPECT_EQ(list.sortType(), SORT_TYPE::DESC);
    EXPECT_TRUE(list.isActionFromSortingButton());
    EXPECT_EQ(titles(list.items()), (QStringList{"c", "b", "b", "a", "B"}));
    EXPECT_EQ(list.items()[1], tie1);
    EXPECT_EQ(list.filteredItems(), list.items());  // the search is not applied
    EXPECT_EQ(list.searchText(), QString("b"));
    EXPECT_EQ(list.highlightedButton(), SortButton::desc);

    list.didClickSort(SortButton::asc);
    EXPECT_EQ(list.sortType(), SORT_TYPE::ASC);
    EXPECT_EQ(titles(list.items()), (QStringList{"B", "a", "b", "b", "c"}));
    EXPECT_EQ(list.items()[2], tie2);  // the reversal turns ties round
    EXPECT_EQ(list.filteredItems(), list.items());

    const int reloads = observed.reloads;
    list.didClickSort(SortButton::normal);
    EXPECT_EQ(list.sortType(), SORT_TYPE::NORMAL);
    EXPECT_GT(observed.reloads, reloads);
}

TEST(SortableList, SearchComparesBeforeReloading) {
    Observed<TrackSortableList> observed;
    TrackSortableList& list = observed.list;
    list.setItems({makeTrack("Gamma"), makeTrack("Alpha"), makeTrack("beta")});
    int reloads = observed.reloads;

    list.didChange(QString("A"));  // case-insensitive: all three contain "a"
    EXPECT_EQ(list.filteredItems().size(), 3);
    EXPECT_EQ(observed.reloads, reloads + 1);  // NORMAL showed file-name order
    list.didChange(QString("a"));
    EXPECT_EQ(observed.reloads, reloads + 1);  // same rows: no reload
    list.didChange(QString(" "));
    EXPECT_TRUE(list.filteredItems().isEmpty());  // a space is searched for
    list.didChange(QString("aA"));  // "gamma" then "alpha": no match across two titles
    EXPECT_TRUE(list.filteredItems().isEmpty());
    list.didChange(QString("MA"));  // at the very end of a title
    EXPECT_EQ(titles(list.filteredItems()), QStringList{"Gamma"});
    reloads = observed.reloads;

    // Clearing the field under NORMAL always reloads; under DESC only on change.
    list.didChange(std::nullopt);
    list.didChange(QString());
    EXPECT_EQ(observed.reloads, reloads + 2);
    list.didClickSort(SortButton::desc);
    reloads = observed.reloads;
    list.didChange(QString());
    EXPECT_EQ(observed.reloads, reloads);
}

// The search keeps each title lower-cased by position; a button that moves
// the items must not leave it matching one item by another's title.
TEST(SortableList, SearchAfterASortMatchesTheItemsWhereTheyNowStand) {
    for (const SortButton button : {SortButton::asc, SortButton::normal}) {
        TrackSortableList list;
        list.setItems({numbered("ab", 2), numbered("cd", 1)});
        list.didChange(QString("a"));
        list.didClickSort(button);
        list.didChange(QString("a"));
        EXPECT_EQ(titles(list.filteredItems()), QStringList{"ab"}) << int(button);
    }
}

TEST(SortableList, DescendingAfterReappearingShowsItemsReversed) {
    TrackSortableList list;
    list.setItems({makeTrack("a"), makeTrack("b"), makeTrack("c")});
    list.didClickSort(SortButton::desc);
    list.viewDidAppear();
    EXPECT_FALSE(list.isActionFromSortingButton());
    // A load leaves items low to high.
    list.changeItems([](QList<TrackPtr>& items) { std::reverse(items.begin(), items.end()); });
    EXPECT_EQ(titles(list.filteredItems()), (QStringList{"c", "b", "a"}));
    list.didChange(QString("b"));
    list.didChange(QString());
    EXPECT_EQ(titles(list.filteredItems()), (QStringList{"c", "b", "a"}));

    // Straight after the button, items are already high to low and shown as
    // they are.
    list.didClickSort(SortButton::desc);
    list.didChange(QString("b"));
    list.didChange(QString());
    EXPECT_EQ(titles(list.filteredItems()), (QStringList{"c", "b", "a"}));
}

TEST(SortableList, ArtistsFromFilesLookAlikeToTheSearch) {
    Observed<ArtistSortableList> observed;
    ArtistSortableList& list = observed.list;
    list.setItems({artist("Miles"), artist("Monk"), artist("Bird")});
    list.didChange(QString("m"));
    const int reloads = observed.reloads;
    // Two rows before and after: equal records, so no reload and the rows stay.
    list.didChange(QString("i"));
    EXPECT_EQ(observed.reloads, reloads);
    EXPECT_EQ(names(list.filteredItems()), (QStringList{"Miles", "Monk"}));

    // NORMAL touches nothing for artists until the next refilter.
    list.didClickSort(SortButton::asc);
    EXPECT_EQ(names(list.items()), (QStringList{"Bird", "Miles", "Monk"}));
    const int afterSort = observed.reloads;
    list.didClickSort(SortButton::normal);
    EXPECT_EQ(observed.reloads, afterSort);
    EXPECT_EQ(names(list.items()), (QStringList{"Bird", "Miles", "Monk"}));
    EXPECT_EQ(list.highlightedButton(), SortButton::normal);
}

TEST(SortableList, EmptyAndSingleListsGoThroughEveryPath) {
    for (const int size : {0, 1}) {
        TrackSortableList list;
        QList<TrackPtr> items;
        if (size == 1) {
            items.append(makeTrack("only"));
        }
        list.setItems(items);
        for (const SortButton button : {SortButton::asc, SortButton::desc, SortButton::normal}) {
            list.didClickSort(button);
            list.didChange(QString("o"));
            list.didChange(QString());
            EXPECT_EQ(list.filteredItems().size(), size);
        }
    }
}

TEST(SortableList, StringsOrderByScalarValueAfterNormalisation) {
    ArtistSortableList list;
    // "é" precomposed and decomposed are one name; "Z" sorts before "a";
    // a character beyond U+FFFF sorts after U+FFFD.
    list.setItems({artist("a"), artist("\U0001F3B5"), artist("Z"), artist("\uFFFD"),
                   artist(QString::fromUtf8("e\u0301"))});
    list.didClickSort(SortButton::asc);
    EXPECT_EQ(names(list.items()),
              (QStringList{"Z", "a", QString::fromUtf8("e\u0301"), "\uFFFD", "\U0001F3B5"}));
    EXPECT_FALSE(artist("\u00e9") < artist(QString::fromUtf8("e\u0301")));
    EXPECT_FALSE(artist(QString::fromUtf8("e\u0301")) < artist("\u00e9"));
}

TEST(SortableList, SortButtonsKeepTheOrderOfEqualKeys) {
    // Enough elements that an unstable sort would show; equal keys differ
    // only in their file names, which tell the order they came in.
    TrackSortableList list;
    QList<TrackPtr> tracks;
    QStringList expected[3];
    for (int i = 0; i < 90; ++i) {
        const QString title = QStringList{"b", "a", "c"}.at(i % 3);
        const QString fileName = QStringLiteral("%1.mp3").arg(i, 2, 10, QLatin1Char('0'));
        tracks.append(makeTrack(title, "A", "B", fileName));
        expected[title == "c" ? 0 : title == "b" ? 1 : 2].append(fileName);
    }
    list.setItems(tracks);
    list.didClickSort(SortButton::desc);
    QStringList fileNames;
    for (const TrackPtr& track : list.items()) {
        fileNames.append(track->fileName);
    }
    EXPECT_EQ(fileNames, expected[0] + expected[1] + expected[2]);
}

TEST(SortableList, KeyedSortGivesTheOrderOfOperatorLess) {
    // Canonically equivalent spellings, case, the full width and astral planes.
    const QStringList texts{"Zebra",
                            "apple",
                            "Apple",
                            QString::fromUtf8("e\u0301clair"),
                            QString::fromUtf8("\u00e9clair"),
                            QString::fromUtf8("\U0001F3B5 note"),
                            QString::fromUtf8("\uFF21 wide"),
                            QString::fromUtf8("\u2126"),
                            QString::fromUtf8("\u03A9"),
                            ""};
    QList<TrackPtr> tracks;
    QList<Album> albums;
    for (int i = 0; i < 60; ++i) {
        const auto text = [&](int salt) { return texts[(i * 7 + salt * i * i + salt) % 10]; };
        tracks.append(makeTrack(text(1), text(2), text(3), QString::number(i)));
        albums.append(Album{quint64(i), text(1), text(2), std::nullopt, nullptr});
    }
    QList<TrackPtr> expectedTracks = tracks;
    std::stable_sort(expectedTracks.begin(), expectedTracks.end(),
                     [](const TrackPtr& a, const TrackPtr& b) { return *a < *b; });
    sortByOrder(tracks);
    EXPECT_EQ(tracks, expectedTracks);
    QList<Album> expectedAlbums = albums;
    std::stable_sort(expectedAlbums.begin(), expectedAlbums.end());
    sortByOrder(albums);
    EXPECT_EQ(albums, expectedAlbums);
}

// Moving tracks around keeps the NORMAL order worked out before only where
// no two file names are equal; with equal names the new order decides.
TEST(SortableList, NormalOrderFollowsAMoveOnlyWhereNamesTie) {
    const QList<QList<TrackPtr>> cases = {
        {makeTrack("1", "A", "B", "b.wav"), makeTrack("2", "A", "B", "a.wav"),
         makeTrack("3", "A", "B", "c.wav")},
        {makeTrack("1", "A", "B", "Song.wav"), makeTrack("2", "A", "B", "song.wav"),
         makeTrack("3", "A", "B", "a.wav")},
    };
    for (const QList<TrackPtr>& tracks : cases) {
        Observed<TrackSortableList> observed;
        observed.list.setItems(tracks);
        EXPECT_EQ(titles(observed.list.filteredItems()), titles(sortedByFileName(tracks)));
        observed.list.reorderItems(
            [](QList<TrackPtr>& items) { std::reverse(items.begin(), items.end()); });
        EXPECT_EQ(titles(observed.list.filteredItems()),
                  titles(sortedByFileName(observed.list.items())));
        EXPECT_EQ(observed.reloads, 2);
    }
}
