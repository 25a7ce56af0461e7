// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Library.h"
#include "MediaServer/Options.h"

/// Fills an empty library with drawn pictures, each with its own colours, shapes and label, and
/// with random bytes in place of clips. The same settings always give the same bytes.
///
/// Needs a QGuiApplication for the fonts. Throws std::runtime_error when a file cannot be written.
void generateLibrary(Library &library, const GeneratedLibrary &settings, QSize pictureSize);
