// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Slots.h"

#include <bitset>

/// One bit for each folder or slot number. A set bit means that the folder or slot is the same on
/// both servers.
using Marks = std::bitset<Slots::count>;
