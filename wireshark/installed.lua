-- The plugin for all users of a machine: has the command make the dissector of the dictionary that it serves at this
-- time. A user's own, zel.lua in the personal folder, takes its place: no protocol can be defined twice, and the global
-- folder is loaded first.
local own = io.open(Dir.personal_plugins_path() .. "/zel.lua")
if own then
    own:close()
    return
end
local command = io.popen("zel dict wireshark")
local dissector = command:read("*a")
command:close()
assert(load(dissector, "@zel dict wireshark"))()
