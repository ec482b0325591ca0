-- Turns a page of docs/ into a man page: the heading becomes the section NAME, the page's first usage SYNOPSIS, and
-- links become the names of man pages or plain text. A table becomes a list, since a terminal is narrow.

local pages = {
  ["settings.md"] = "torvik.conf(5)",
  ["jobs.md"] = "torvik-job(5)",
  ["packages.md"] = "torvik-package(5)",
}
local name, description

local function Link(link)
  local file = link.target:match("([^/#]+)#?[^/]*$") or ""
  local page = pages[file] or (link.target:match("^[^/]*$") and file:match("^(torvik.*)%.md$"))
  if page and not page:find("%(") then page = page .. "(1)" end
  local text = link.content
  if page then
    text:extend({ pandoc.Space(), pandoc.Str("("), pandoc.Strong(page), pandoc.Str(")") })
  elseif file:match("%.md$") then
    text:extend({ pandoc.Space(), pandoc.Str("(" .. file .. " in /usr/share/doc/torvik)") })
  elseif link.target:match("^https?:") then
    text:extend({ pandoc.Space(), pandoc.Str("<" .. link.target .. ">") })
  end
  return text
end

-- Inlines of a table's cell.
local function Content(cell)
  return pandoc.utils.blocks_to_inlines(cell.contents)
end

-- A row is its first cell and what is said of it; cells in between have their column's heading in front of them.
local function Table(rows)
  local headings = rows.head.rows[1] and rows.head.rows[1].cells or {}
  local items = {}
  for _, row in ipairs(rows.bodies[1].body) do
    local said = pandoc.Inlines({})
    for column = 2, #row.cells do
      local content = Content(row.cells[column])
      if #content > 0 then
        local heading = headings[column] and pandoc.utils.stringify(Content(headings[column])) or ""
        if #said > 0 then said:extend({ pandoc.Str(";"), pandoc.Space() }) end
        if #row.cells > 2 and heading ~= "" then said:extend({ pandoc.Str(heading .. ":"), pandoc.Space() }) end
        said:extend(content)
      end
    end
    table.insert(items, { Content(row.cells[1]), { { pandoc.Plain(said) } } })
  end
  return pandoc.DefinitionList(items)
end

local function Heading(level, text) return pandoc.Header(level, pandoc.Inlines(text)) end

function Pandoc(doc)
  name = pandoc.utils.stringify(doc.meta.title)
  description = pandoc.utils.stringify(doc.meta.description)
  doc.meta.title = pandoc.MetaInlines(pandoc.Str(name:upper()))
  local blocks = pandoc.Blocks({})
  local hasSynopsis = false
  for i, block in ipairs(doc.blocks) do
    if i == 1 and block.t == "Header" then
      blocks:extend({ Heading(1, "NAME"),
                      pandoc.Para({ pandoc.Str(name), pandoc.Space(), pandoc.RawInline("man", "\\-"), pandoc.Space(),
                                    pandoc.Str(description) }) })
      local next = doc.blocks[2]
      hasSynopsis = next ~= nil and next.t == "CodeBlock"
      blocks:insert(Heading(1, hasSynopsis and "SYNOPSIS" or "DESCRIPTION"))
    else
      if block.t == "Header" then
        block = pandoc.Header(block.level - 1, block.content)
        if block.level == 1 then
          block = block:walk({ Str = function(text) return pandoc.Str(text.text:upper()) end,
                               Code = function(code) return pandoc.Str(code.text:upper()) end })
        end
      end
      blocks:insert(block)
      if i == 2 and hasSynopsis then blocks:insert(Heading(1, "DESCRIPTION")) end
    end
  end
  doc.blocks = blocks
  return doc
end

return { { Link = Link, Table = Table, Image = function() return {} end }, { Pandoc = Pandoc } }
