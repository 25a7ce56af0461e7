-- SPDX-FileCopyrightText: The Brenvoka authors
-- SPDX-License-Identifier: MIT

-- For pandoc: links between the pages, the title of a page, and tables whose columns are as wide as
-- their text needs.

local title

function Header(header)
    if header.level == 1 and not title then
        title = pandoc.utils.stringify(header)
    end
end

function Link(link)
    local page = link.target:match("^([%w-]+)%.md")
    if page then
        link.target = link.target:gsub("%.md", ".html", 1)
        if pandoc.utils.stringify(link) == page .. ".md" then
            link.content = page
        end
    end
    return link
end

function Table(table)
    for _, column in ipairs(table.colspecs) do
        column[2] = nil
    end
    return table
end

function Meta(meta)
    meta.title = title
    return meta
end
