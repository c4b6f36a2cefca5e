-- Starts `ipav lsp` for configurations. For init.lua:
--   dofile('/usr/share/ipav/editors/neovim/ipav.lua')
-- Settings, before that: vim.g.ipav = {cmd = {...}, running = 'FILE'}.

local options = vim.tbl_extend('force', {cmd = {'ipav', 'lsp'}}, vim.g.ipav or {})

-- Other XML and JSON files are none of its business.
local function is_configuration(buffer)
  local lines = vim.api.nvim_buf_get_lines(buffer, 0, 100, false)
  return table.concat(lines, '\n'):find('vorplex[:-]') ~= nil
end

-- The verdict and the number of changes, above the text; completion with
-- CTRL-X CTRL-O.
local function set_up(_, buffer)
  vim.bo[buffer].omnifunc = 'v:lua.vim.lsp.omnifunc'
  vim.api.nvim_create_autocmd({'BufEnter', 'InsertLeave', 'TextChanged'}, {
    buffer = buffer,
    callback = vim.lsp.codelens.refresh,
  })
  vim.lsp.codelens.refresh()
end

local client

local function attach(buffer)
  local type = vim.bo[buffer].filetype
  if (type ~= 'xml' and type ~= 'json') or not is_configuration(buffer) then return end
  if vim.fn.executable(options.cmd[1]) == 0 then
    vim.notify_once('ipav.lua: no program ' .. options.cmd[1] .. ', so no verdicts. ' ..
                    'Install ipav, or set vim.g.ipav.cmd.', vim.log.levels.WARN)
    return
  end
  if not client or not vim.lsp.get_client_by_id(client) then
    client = vim.lsp.start_client({
      name = 'ipav',
      cmd = options.cmd,
      root_dir = vim.fn.getcwd(),
      init_options = {running = options.running},
      on_attach = set_up,
    })
  end
  vim.lsp.buf_attach_client(buffer, client)
end

-- A new file is no configuration before something is in it.
vim.api.nvim_create_autocmd({'FileType', 'InsertLeave', 'TextChanged', 'BufWritePost'}, {
  callback = function(event) attach(event.buf) end,
})
