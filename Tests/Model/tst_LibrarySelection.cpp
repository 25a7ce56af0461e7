// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/LibrarySelection.h"

#include "Support/Libraries.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

using Refs = QList<VisualRef>;

namespace {

Refs refs(int first, const QList<int> &slotNumbers)
{
    Refs result;
    for (const int slot : slotNumbers)
        result.append({first, slot});
    return result;
}

/// Position 0 has folder 1, position 1 has folder 4 with slot 9.
Server sparseServer()
{
    return server({folder(1, u"One"_s, {visual(8)}), folder(4, u"Four"_s, {visual(9)})});
}

bool hasVisual(const MediaFolder &folder, int slot)
{
    return std::ranges::any_of(folder.files, [slot](const Visual &v) { return v.slot == slot; });
}

// A simple model of the two selections.

Refs literalFolders(const Server &server, const QList<int> &folders, bool onlyExisting)
{
    Refs result;
    for (const int number : folders) {
        const auto found = std::ranges::find(server.folders, number, &MediaFolder::slot);
        for (int slot = 1; slot < 256; ++slot) {
            const bool exists = found != server.folders.cend() && hasVisual(*found, slot);
            if (exists || !onlyExisting)
                result.append({number, slot});
        }
    }
    return result;
}

Refs literalSlots(const Server &server, int number, const QList<int> &slotNumbers,
                  bool onlyExisting)
{
    int position = -1;
    for (int index = static_cast<int>(server.folders.size()) - 1; index >= 0; --index) {
        if (server.folders.at(index).slot == number)
            position = index;
    }
    Refs result;
    for (const int slot : slotNumbers) {
        const bool exists =
            number < server.folders.size() && hasVisual(server.folders.at(number), slot);
        if (slot > 0 && (exists || !onlyExisting))
            result.append({position, slot});
    }
    return result;
}

} // namespace

/// Which slots a selection means.
class tst_LibrarySelection final : public QObject
{
    Q_OBJECT

private slots:
    void folderMeansItsSlotsFrom1To255()
    {
        const Server library = server({folder(3, u"Three"_s, {visual(0), visual(5), visual(3)})});
        const Refs three = LibrarySelection::ofFolders(library, {3}, false);
        QCOMPARE(three.size(), 255);
        QCOMPARE(three.first(), VisualRef(3, 1));
        QCOMPARE(three.last(), VisualRef(3, 255));
        QCOMPARE(LibrarySelection::ofFolders(library, {200, 3, 2}, true), refs(3, {3, 5}));
        QCOMPARE(LibrarySelection::ofFolders(library, {200}, false).size(), 255);
        QCOMPARE(LibrarySelection::ofFolders(library, {}, false), Refs());
    }

    void slotsHaveThePositionOfTheirFolder()
    {
        const Server library = sparseServer();
        QCOMPARE(LibrarySelection::ofSlots(library, 4, {10, 9, 0, -1}, false), refs(1, {10, 9}));
        QCOMPARE(LibrarySelection::ofSlots(library, 5, {10}, false), refs(-1, {10}));
    }

    void existingSlotsAreSearchedInTheFolderAtThatPosition()
    {
        const Server library = sparseServer();
        QCOMPARE(LibrarySelection::ofSlots(library, 1, {8, 9}, true), refs(0, {9}));
        QCOMPARE(LibrarySelection::ofSlots(library, 4, {8, 9}, true), Refs());
    }

    void nothingSelectedMeansTheWholeLevel()
    {
        QCOMPARE(LibrarySelection::all(), allSlots());
        const Refs inFolder = LibrarySelection::allOfFolder(sparseServer(), 4);
        QCOMPARE(inFolder.size(), 254);
        QCOMPARE(inFolder.first(), VisualRef(1, 1));
        QCOMPARE(inFolder.last(), VisualRef(1, 254));
    }

    void randomSelectionsMatchTheModel()
    {
        QRandomGenerator random(21);
        const auto number = [&random](int below) { return random.bounded(below); };
        const auto numbers = [&number](int below) {
            QList<int> result;
            for (int count = number(5); count > 0; --count)
                result.append(number(below));
            return result;
        };
        for (int round = 0; round < 500; ++round) {
            QList<MediaFolder> folders;
            for (int count = number(6); count > 0; --count) {
                QList<Visual> files;
                for (int file = number(6); file > 0; --file)
                    files.append(visual(number(8), QString::number(number(2))));
                folders.append(folder(number(8), u"name"_s, files));
            }
            const Server library = server(folders);
            const bool onlyExisting = number(2) == 0;
            const QList<int> rows = numbers(9);
            QCOMPARE(LibrarySelection::ofFolders(library, rows, onlyExisting),
                     literalFolders(library, rows, onlyExisting));
            const int open = number(9);
            QCOMPARE(LibrarySelection::ofSlots(library, open, rows, onlyExisting),
                     literalSlots(library, open, rows, onlyExisting));
        }
    }
};

QTEST_APPLESS_MAIN(tst_LibrarySelection)
#include "tst_LibrarySelection.moc"
