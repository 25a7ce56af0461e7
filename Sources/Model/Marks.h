// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Slots.h"

#include <bitset>

/// What two servers have in common, one bit for each folder or slot number: a set bit means that
/// the folder or the slot of that number is the same on both.
using Marks = std::bitset<Slots::count>;
