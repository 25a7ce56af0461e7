// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibraryDifference.h"

#include "Model/LibraryComparison.h"
#include "Model/Server.h"

#include <array>

namespace {

/// The visuals of one folder by their slots; the first of several counts.
class VisualsBySlot final
{
public:
    explicit VisualsBySlot(const MediaFolder *folder)
    {
        if (!folder)
            return;
        for (const Visual &visual : folder->files) {
            const Visual *&place = visuals[static_cast<std::size_t>(visual.slot)];
            place = place ? place : &visual;
        }
    }

    [[nodiscard]] std::optional<Visual> at(int slot) const
    {
        const Visual *const visual = visuals[static_cast<std::size_t>(slot)];
        return visual ? std::optional(*visual) : std::nullopt;
    }

private:
    std::array<const Visual *, Slots::count> visuals{};
};

const MediaFolder *folderOf(const Server &server, int position)
{
    return position < 0 ? nullptr : &server.folders.at(position);
}

std::optional<QString> nameOf(const MediaFolder *folder)
{
    return folder ? std::optional(folder->name) : std::nullopt;
}

FolderDifference folderDifference(int slot, const MediaFolder *first, const MediaFolder *second)
{
    FolderDifference result{slot, nameOf(first), nameOf(second), {}};
    const VisualsBySlot firstVisuals(first);
    const VisualsBySlot secondVisuals(second);
    for (int file = 0; file < Slots::count; ++file) {
        const std::optional<Visual> one = firstVisuals.at(file);
        const std::optional<Visual> other = secondVisuals.at(file);
        if (one != other)
            result.visuals.append({file, one, other});
    }
    return result;
}

} // namespace

LibraryDifference LibraryDifference::between(const Server &first, const Server &second)
{
    LibraryDifference result;
    const Marks same = LibraryComparison::folderSameMarks(first, second);
    const FolderPositions firstPositions = first.folderPositions();
    const FolderPositions secondPositions = second.folderPositions();
    for (std::size_t slot = 0; slot < same.size(); ++slot) {
        if (same.test(slot))
            continue;
        result.folders.append(folderDifference(static_cast<int>(slot),
                                               folderOf(first, firstPositions[slot]),
                                               folderOf(second, secondPositions[slot])));
        for (const VisualDifference &visual : result.folders.constLast().visuals)
            result.slotCount += visual.slot > 0 ? 1 : 0;
    }
    return result;
}
