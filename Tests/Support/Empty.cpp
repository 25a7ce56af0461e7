// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// A library needs a source, also one that is only a set of precompiled headers.
