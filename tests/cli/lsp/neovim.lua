-- Run by editors_test.py in neovim: writes what a user sees into a file.

local out = {}
local candidate = vim.env.IPAV_TEST_CANDIDATE
local function wait_for(condition)
  assert(vim.wait(20000, condition, 20), 'waited in vain')
end
local function diagnostics()
  return vim.tbl_map(function(each)
    return {line = each.lnum + 1, column = each.col, code = each.code,
            text = each.message}
  end, vim.diagnostic.get(0))
end
local function count() return #vim.diagnostic.get(0) end

-- A new file is taken when it has become a configuration.
vim.cmd('edit new.xml')
out.at_first = #vim.lsp.get_active_clients()
vim.cmd('normal i<config xmlns="urn:vorplex:config">')
wait_for(function() return vim.bo.omnifunc ~= '' end)
wait_for(function() return count() == 1 end)

vim.cmd('edit! ' .. vim.fn.fnameescape(candidate))
wait_for(function() return count() == 1 end)
out.diagnostics = diagnostics()

-- The lenses are shown in the first line.
local function lenses()
  local found = {}
  for _, lens in ipairs(vim.lsp.codelens.get(0)) do
    table.insert(found, lens.command.title)
  end
  return found
end
wait_for(function() return #lenses() == 2 end)
out.lenses = lenses()

-- The first fix.
local at = vim.diagnostic.get(0)[1]
local position = {line = at.lnum, character = at.col}
local answers = vim.lsp.buf_request_sync(0, 'textDocument/codeAction', {
  textDocument = vim.lsp.util.make_text_document_params(),
  range = {start = position, ['end'] = position},
  context = {diagnostics = {}},
}, 20000)
local actions = answers[vim.lsp.get_active_clients()[1].id].result
out.actions = vim.tbl_map(function(each) return each.title end, actions)
vim.lsp.util.apply_workspace_edit(actions[1].edit, 'utf-16')
wait_for(function() return count() == 0 end)

-- Typed by hand, wrong, and deleted.
vim.api.nvim_win_set_cursor(0, {501, 0})
vim.cmd('normal Oä<ip>')
wait_for(function() return count() == 1 end)
out.typed = diagnostics()
vim.cmd('delete')
wait_for(function() return count() == 0 end)

-- Completion: several lines, behind a hyphen, and in JSON with the comma before
-- it and the quote behind it.
local function complete(file, line, typed)
  vim.cmd('edit! ' .. file)
  wait_for(function() return vim.bo.omnifunc:find('ipav') end)
  vim.fn.cursor(line, 1)
  local keys = vim.api.nvim_replace_termcodes('o' .. typed .. '<C-X><C-O>', true, true, true)
  vim.api.nvim_feedkeys(keys, 'tx', false)
  local last = vim.api.nvim_win_get_cursor(0)[1]
  return vim.tbl_map(vim.trim, vim.api.nvim_buf_get_lines(0, line - 1, last, true))
end
vim.fn.writefile({'<config xmlns="urn:vorplex:config"><interface>',
                  '<l3 xmlns="urn:vorplex:ipapp"><name>ä</name>', '</l3>'}, 'complete.xml')
vim.fn.writefile({'{"vorplex-config:config": {"interface": {"ipapp:l3": [{',
                  '"name": "ä"', '}]}}}'}, 'complete.json')
out.completed = {
  complete('complete.xml', 2, 'ä<lower-'), complete('complete.xml', 2, '<vr'),
  complete('complete.json', 2, '"'), complete('complete.json', 2, '"enab'),
}

-- The running configuration is written by another program.
local function wait_for_change(text)
  vim.cmd('buffer ' .. vim.fn.fnameescape(candidate))
  wait_for(function() return lenses()[2] == text .. ' against running.xml' end)
end
wait_for_change('no changes')
vim.cmd('buffer complete.xml')
vim.fn.writefile(vim.fn.readfile(candidate), 'running.xml')
vim.loop.fs_utime('running.xml', 1, 1)
wait_for_change('1 change')

vim.fn.writefile({vim.json.encode(out)}, vim.env.IPAV_TEST_OUT)
vim.cmd('quitall!')
