-- The dissector: takes the frames from a stream one by one, and asks to be given the streams that hold some.

local function is_known(type, sub_type)
    return dictionary.message(type, sub_type) ~= nil
end

-- The most names of messages in a packet's line of the list. Names have no blanks.
local MOST_NAMES = 20
local packet_names = {}

local function note_name(name)
    local count = #packet_names
    if count < MOST_NAMES then
        packet_names[count + 1] = name
    elseif count == MOST_NAMES then
        packet_names[count + 1] = "..."
    end
end

-- A segment may come in several parts; each appends its names.
local function show_names(cols)
    if #packet_names > 0 then
        local info = cols.info
        info:clear()
        info:append(table.concat(packet_names, " ") .. " ")
        info:fence()
    end
end

local frame_names = {[4] = "short", [6] = "long"}

local function add_no_frame(root, tvb)
    local size = tvb:len()
    local tree = root:add(zel, tvb(), string.format("ZEL, no frame, %d bytes", size))
    local item = tree:add(filter_fields.no_frame, tvb())
    item:add_proto_expert_info(problems.no_frame, string.format("%d bytes that are no frame", size))
    note_name("(no-frame)")
end

local function add_frame(tree, tvb, data, head, length)
    local format, range = data:byte(2), tvb(1, 1)
    local branch = tree:add(filter_fields.frame, tvb(0, head))
    branch:set_text("Frame: " .. frame_names[head] .. ", " .. length .. " bytes after it")
    branch:add(filter_fields.frame_soh, tvb(0, 1), 1)
    local item = branch:add(filter_fields.frame_format, range, format)
    if format % 16 ~= 0 then
        item:add_proto_expert_info(problems.frame_odd, "The low 4 bits of the format are not 0")
    end
    item = branch:add(filter_fields.frame_length, tvb(2, head - 2), length)
    if head + length > #data then
        item:add_proto_expert_info(problems.frame_cut,
            string.format("%d bytes announced, the capture has %d", length, #data - head))
    end
end

-- One frame, or bytes that are not a frame.
local function dissect_frame(tvb, _, root)
    local data = tvb:raw()
    local size = frames.size(data)
    if not size or size == 0 then
        add_no_frame(root, tvb)
        return tvb:len()
    end
    local head, length = frames.head(data)
    local tree = root:add(zel, tvb())
    add_frame(tree, tvb, data, head, length)
    local header = message.add(tree, tvb, data, head + 1)
    local name = header and header.name or "(no-header)"
    tree:set_text("ZEL, " .. name .. ", " .. size .. " bytes")
    note_name(name)
    return #data
end

local function next_size(tvb, pinfo, from)
    return frames.next(tvb, pinfo, from)
end

local function dissect_stream(tvb, pinfo, root)
    local cols = pinfo.cols
    cols.protocol = "ZEL"
    packet_names = {}
    -- Any byte may not be the start of a frame, so ask for a size from the first byte on.
    dissect_tcp_pdus(tvb, root, 1, next_size, dissect_frame)
    show_names(cols)
    return tvb:len()
end

zel.dissector = dissect_stream

-- Claims a stream that starts with an unmistakable frame.
local function claim(tvb, pinfo, root)
    if not frames.is_certain(tvb:raw(0, math.min(frames.LOOK, tvb:len())), is_known) then
        return false
    end
    pinfo.conversation = zel
    -- Not through the registered dissector: that could no longer ask for more segments.
    dissect_stream(tvb, pinfo, root)
    return true
end

zel.prefs.ports = Pref.range("TCP ports", "", "Ports of ZEL streams; others are recognised by their first bytes", 65535)
zel.prefs.streams = Pref.string("Fields with streams", streams.default_names(),
    "Names or ids, with commas between, of fields that hold filter or sort streams")
zel.prefs.statistics = Pref.bool("Count messages", false, "tshark writes the number of messages by type at its end")

local tcp_ports = DissectorTable.get("tcp.port")
local ports_in_use = ""

function zel.prefs_changed()
    local ports = tostring(zel.prefs.ports)
    if ports ~= ports_in_use then
        if ports_in_use ~= "" then
            tcp_ports:remove(ports_in_use, zel)
        end
        if ports ~= "" then
            tcp_ports:add(ports, zel)
        end
        ports_in_use = ports
    end
    streams.choose(zel.prefs.streams)
    statistics.print_at_end(zel.prefs.statistics)
end

streams.choose(zel.prefs.streams)
tcp_ports:add_for_decode_as(zel)
zel:register_heuristic("tcp", claim)
statistics.register()
