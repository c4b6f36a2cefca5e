-- Starts `ipav lsp` for configurations. For init.lua:
--   dofile('/usr/share/ipav/editors/neovim/ipav.lua')
-- Settings, before that: vim.g.ipav = {cmd = {...}, running = 'FILE'}.

local options = vim.tbl_extend('force', {cmd = {'ipav', 'lsp'}}, vim.g.ipav or {})

local client
local has_failed = false

local function warn(text)
  vim.notify_once('ipav.lua: ' .. text, vim.log.levels.WARN)
end

-- Other XML and JSON files are none of its business.
local function is_configuration(buffer)
  local lines = vim.api.nvim_buf_get_lines(buffer, 0, 100, false)
  return table.concat(lines, '\n'):find('vorplex[:-]') ~= nil
end

-- ---- Completion -------------------------------------------------------------

-- Neovim's own function drops all lines of an item but the first one, its place
-- and its other edits. Here the menu has what is typed of an item, and its edits
-- are made to the line as it was when the menu was opened.
local menu = {}

function _G.ipav_complete(is_start, typed)
  if is_start == 1 then
    local params = vim.lsp.util.make_position_params()
    local answers = vim.lsp.buf_request_sync(0, 'textDocument/completion', params, 2000) or {}
    local answer = (answers[client] or {}).result or {items = {}}
    menu = {items = answer.items, line = vim.api.nvim_get_current_line(),
            row = vim.api.nvim_win_get_cursor(0)[1] - 1}
    if #menu.items == 0 then return -3 end
    local start = menu.items[1].textEdit.range.start.character
    return vim.str_byteindex(menu.line, start, true)
  end
  local words = {}
  for number, item in ipairs(menu.items) do
    if vim.startswith(item.filterText, typed) then
      table.insert(words, {
        word = item.filterText, abbr = item.label, menu = item.detail,
        info = (item.documentation or {}).value, user_data = {ipav = number},
      })
    end
  end
  -- CTRL-X CTRL-Z accepts a single word, for which Neovim shows no menu.
  if #words == 1 and not vim.o.completeopt:find('menuone') then
    vim.api.nvim_feedkeys('\24\26', 'in', false)
  end
  return words
end

local function accept_completion(event)
  local chosen = vim.v.completed_item.user_data
  if type(chosen) ~= 'table' or not chosen.ipav then return end
  local item = menu.items[chosen.ipav]
  local buffer = event.buf
  vim.api.nvim_buf_set_lines(buffer, menu.row, menu.row + 1, true, {menu.line})
  -- The mark moves behind what is inserted before it.
  local space = vim.api.nvim_create_namespace('ipav')
  local ends = vim.str_byteindex(menu.line, item.textEdit.range['end'].character, true)
  local mark = vim.api.nvim_buf_set_extmark(buffer, space, menu.row, ends, {})
  local edits = vim.list_extend({item.textEdit}, item.additionalTextEdits or {})
  vim.lsp.util.apply_text_edits(edits, buffer, 'utf-16')
  local row, column = unpack(vim.api.nvim_buf_get_extmark_by_id(buffer, space, mark, {}))
  vim.api.nvim_buf_del_extmark(buffer, space, mark)
  vim.api.nvim_win_set_cursor(0, {row + 1, column})
end

-- ---- A buffer with a server -------------------------------------------------

-- When the running configurations of the buffer's folder were written.
local function running_times(buffer)
  local folder = vim.fn.fnamemodify(vim.api.nvim_buf_get_name(buffer), ':p:h')
  local files = {folder .. '/running.xml', folder .. '/running.json'}
  return table.concat(vim.tbl_map(vim.fn.getftime, {options.running or files[1], files[2]}), ' ')
end

local function set_up(attached, buffer)
  vim.bo[buffer].omnifunc = 'v:lua.ipav_complete'
  vim.diagnostic.config({update_in_insert = true},
                        vim.lsp.diagnostic.get_namespace(attached.id))
  local group = vim.api.nvim_create_augroup('ipav' .. buffer, {clear = true})
  local function on(events, callback)
    vim.api.nvim_create_autocmd(events, {group = group, buffer = buffer, callback = callback})
  end
  -- With each verdict. Neovim only asks for the lenses of the current buffer.
  on({'BufEnter', 'DiagnosticChanged'}, function()
    if vim.api.nvim_get_current_buf() == buffer then vim.lsp.codelens.refresh() end
  end)
  on('CompleteDone', accept_completion)
  -- Neovim does not watch files for a server.
  local times = running_times(buffer)
  on({'BufEnter', 'FocusGained'}, function()
    local now = running_times(buffer)
    if now == times then return end
    times = now
    attached.notify('workspace/didChangeWatchedFiles', {changes = {}})
  end)
end

local function on_exit(code)
  if code == 0 then return end
  has_failed = true
  vim.schedule(function()
    warn('the server is not started again. Its errors are in ' .. vim.lsp.get_log_path())
  end)
end

local function attach(buffer)
  local type = vim.bo[buffer].filetype
  if has_failed or (type ~= 'xml' and type ~= 'json') then return end
  if client and vim.lsp.buf_is_attached(buffer, client) then return end
  if not is_configuration(buffer) then return end
  if vim.fn.executable(options.cmd[1]) == 0 then
    return warn('no program ' .. options.cmd[1] .. ', so no verdicts. ' ..
                'Install ipav, or set vim.g.ipav.cmd.')
  end
  if not client or not vim.lsp.get_client_by_id(client) then
    client = vim.lsp.start_client({
      name = 'ipav',
      cmd = options.cmd,
      root_dir = vim.fn.getcwd(),
      init_options = {running = options.running},
      on_attach = set_up,
      on_exit = on_exit,
    })
  end
  vim.lsp.buf_attach_client(buffer, client)
end

-- A new file is no configuration before something is in it.
vim.api.nvim_create_autocmd(
    {'FileType', 'InsertLeave', 'TextChanged', 'TextChangedI', 'BufWritePost'},
    {callback = function(event) attach(event.buf) end})
