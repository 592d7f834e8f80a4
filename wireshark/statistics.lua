-- Messages by type: a window of Wireshark's, and with the preference "statistics" a table that tshark writes at its end.
local statistics = {}
do
    local names_of = Field.new("zel.message")

    -- Counts every message of the packets that are tapped. `show` gets the counts by name.
    local function new_tap(show)
        local tap = Listener.new("frame", "zel.message")
        local counts = {}
        function tap.packet()
            for _, info in ipairs({names_of()}) do
                local name = info.display
                counts[name] = (counts[name] or 0) + 1
            end
        end
        function tap.reset()
            counts = {}
        end
        function tap.draw()
            show(counts)
        end
        return tap
    end

    -- The most frequent first.
    local function table_of(counts)
        local names, lines = {}, {"    messages  message"}
        for name in pairs(counts) do
            names[#names + 1] = name
        end
        table.sort(names, function(a, b)
            return counts[a] > counts[b] or counts[a] == counts[b] and a < b
        end)
        for _, name in ipairs(names) do
            lines[#lines + 1] = string.format("%12d  %s", counts[name], name)
        end
        return table.concat(lines, "\n") .. "\n"
    end

    local function open_window()
        local window = TextWindow.new("ZEL messages by type")
        local tap = new_tap(function(counts)
            window:set(table_of(counts))
        end)
        window:set_atclose(function()
            tap:remove()
        end)
        retap_packets()
    end

    function statistics.register()
        if gui_enabled() then
            register_menu("ZEL messages by type", open_window, MENU_STAT_UNSORTED)
        end
    end

    local printed

    -- Sets the preference, which is for programs without windows.
    function statistics.print_at_end(wanted)
        if wanted and not printed and not gui_enabled() then
            printed = new_tap(function(counts)
                io.stdout:write(table_of(counts))
            end)
        end
    end
end
