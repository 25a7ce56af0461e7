// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkRequest>

/// A request as every one to a media server is made: HTTP/1.1 to that very address, no redirects
/// followed, no cookies, no answer to a request for credentials. `url` is taken as it stands.
[[nodiscard]] QNetworkRequest serverRequest(const QUrl &url);
