// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Findings.h"
#include "Brenvokactl/LibraryDownload.h"
#include "Model/Slots.h"

#include <bitset>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::size_t numberCount = Slots::lastFolder + 1;

/// Slot numbers that have occurred.
class Numbers final
{
public:
    /// Returns whether the number is new.
    bool add(int number)
    {
        const auto place = static_cast<std::size_t>(number);
        const bool isNew = !seen.test(place);
        seen.set(place);
        return isNew;
    }

private:
    std::bitset<numberCount> seen;
};

void adviseOnVisuals(Findings &findings, const MediaFolder &folder)
{
    Numbers numbers;
    for (const Visual &visual : folder.files) {
        const auto add = [&](const QString &text) {
            findings.add(u"visual"_s, text, folder.slot, visual.slot);
        };
        if (!numbers.add(visual.slot))
            add(u"another visual of the folder has the same slot; only one of them is compared"_s);
        if (!visual.name.startsWith(Slots::threeDigits(visual.slot)))
            add(u"the name \"%1\" does not begin with its slot in three digits"_s.arg(visual.name));
    }
}

void adviseOnFolders(Findings &findings, const Server &server)
{
    Numbers numbers;
    for (qsizetype position = 0; position < server.folders.size(); ++position) {
        const MediaFolder &folder = server.folders.at(position);
        const auto add = [&](const QString &text) { findings.add(u"folder"_s, text, folder.slot); };
        if (!numbers.add(folder.slot))
            add(u"another folder has the same slot; only the first is used"_s);
        if (folder.slot != position)
            add(u"it is at position %1; inside this folder the window sends commands for folder "
                "%1"_s.arg(position));
        adviseOnVisuals(findings, folder);
    }
}

} // namespace

QList<Finding> LibraryCheck::advice(const LibraryDownload &download, const Server &server)
{
    Findings findings(Finding::Advice);
    if (download.staysFresh)
        findings.add(u"cache"_s,
                     u"library.json may be cached, so the window may show an old library"_s);
    adviseOnFolders(findings, server);
    return findings.all();
}
