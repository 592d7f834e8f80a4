-- Frames in a stream: SOH, format and length. Also finds the end of bytes that are not a frame.
local frames = {}
do
    local byte, find, sub, min = string.byte, string.find, string.sub, math.min

    local SHORT, LONG = 1, 3
    -- The header up to the length of the variable user data. A header without them has two bytes more.
    local HEADER = 30
    local PLAIN_HEADER = 32
    local MOST_PAYLOAD = 12288
    local MOST_USER_DATA = 65535
    local VAR_USER_DATA = 7
    -- This many bytes are enough to decide whether there is a frame.
    frames.LOOK = 6 + HEADER

    -- The size of the frame's own bytes and of those after it; nil when this is not a frame, or not all of it is there.
    function frames.head(bytes)
        local soh, format, low, high = byte(bytes, 1, 4)
        if soh ~= 1 or not high then
            return nil
        end
        format = (format - format % 16) / 16
        local length = high * 256 + low
        if format == SHORT then
            return length < 32768 and 4 or nil, length
        end
        local higher, highest = byte(bytes, 5, 6)
        if format ~= LONG or not highest then
            return nil
        end
        return highest < 128 and 6 or nil, length + (highest * 256 + higher) * 65536
    end

    -- Whether the bytes look like the start of a frame.
    local function may_begin(bytes)
        return find(bytes, "^\1[\16-\31\48-\63]") ~= nil or bytes == "\1"
    end

    -- The most bytes that may follow the frame's own bytes; nil when more bytes are needed to tell.
    local function most_behind(bytes, head)
        local high, low, length_high, length_low = byte(bytes, head + HEADER - 3, head + HEADER)
        if not length_low then
            return nil
        end
        if high == 0 and low == VAR_USER_DATA then
            return HEADER + length_high * 256 + length_low + MOST_PAYLOAD
        end
        return PLAIN_HEADER + MOST_PAYLOAD
    end

    -- The size of the frame at the start of these bytes, with the message after it; 0 when more bytes are needed to tell; nil
    -- when there is no frame. A length that no message can have is not a frame's.
    function frames.size(bytes)
        local head, length = frames.head(bytes)
        if not head then
            return #bytes < 6 and may_begin(bytes) and not length and 0 or nil
        end
        if length > PLAIN_HEADER + MOST_PAYLOAD then
            local most = length <= HEADER + MOST_USER_DATA + MOST_PAYLOAD and (most_behind(bytes, head) or length)
            if not most or length > most then
                return nil
            end
            return #bytes >= head + HEADER and head + length or 0
        end
        return head + length
    end

    -- Whether the bytes after the frame look like a header: it starts with the ids of its first fields.
    local function header_may_begin(bytes, head)
        local ids, seen = sub(bytes, head + 1, head + 2), sub(bytes, head + 5, head + 6)
        return ids == sub("\0\1", 1, #ids) and seen == sub("\0\2", 1, #seen)
    end

    local function looks_like_frame(bytes)
        local size = frames.size(bytes)
        return size ~= nil and (size == 0 or header_may_begin(bytes, frames.head(bytes)))
    end

    local BLOCK = 4096

    -- How many bytes from `from` on are not a frame: up to the next bytes that look like one, or to the end.
    local function count_others(tvb, from)
        local stop = tvb:len()
        local at = from + 1
        while at < stop do
            local bytes = tvb:raw(at, min(BLOCK, stop - at))
            local found = find(bytes, "\1", 1, true)
            while found do
                local place = at + found - 1
                if looks_like_frame(tvb:raw(place, min(frames.LOOK, stop - place))) then
                    return place - from
                end
                found = find(bytes, "\1", found + 1, true)
            end
            at = at + #bytes
        end
        return stop - from
    end

    -- The size of the frame, or of the other bytes, at `from`. 0 when the next segment is needed to tell.
    function frames.next(tvb, pinfo, from)
        local captured, all = tvb:len(), tvb:reported_len()
        local visible = captured - from
        local size = frames.size(tvb:raw(from, min(frames.LOOK, visible))) or count_others(tvb, from)
        if size == 0 and pinfo.can_desegment == 0 then
            size = visible
        end
        -- The part of a packet that was not captured cannot be searched.
        return from + size >= captured and all > captured and all - from or size
    end

    -- Whether a frame with a whole header starts here, whose type and sub-type `is_known` accepts.
    function frames.is_certain(bytes, is_known)
        local head = frames.head(bytes)
        if not head or not frames.size(bytes) or #bytes < head + HEADER - 2 then
            return false
        end
        for id, at in pairs({1, 5, 11, 17, 23}) do
            if sub(bytes, head + at, head + at + 1) ~= "\0" .. string.char(id) then
                return false
            end
        end
        local type_high, type_low, sub_high, sub_low = byte(bytes, head + 7, head + 10)
        return find(bytes, "^%z[\6\7]", head + 27) ~= nil
            and is_known((type_high * 256 + type_low + 32768) % 65536 - 32768, (sub_high * 256 + sub_low + 32768) % 65536 - 32768)
    end
end
