// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkRequest>

/// The common part of every request to a media server: HTTP/1.1, no redirects, no cookies, no
/// answer to a request for credentials. `url` is used unchanged.
[[nodiscard]] QNetworkRequest serverRequest(const QUrl &url);
