-- The header of a message, and the payload after it, which is expanded if it is compressed.
local message = {}
do
    local byte, sub, format, floor = string.byte, string.sub, string.format, math.floor
    local read_word, read_short, read_long = values.read_word, values.read_short, values.read_long

    -- The first five fields of the header: their names, and the bytes of their values.
    local numbers = {
        {"ZEL_HDR_FLAGS", 2}, {"ZEL_HDR_MSG_TYPE", 4}, {"ZEL_HDR_SERVICEID", 4}, {"ZEL_HDR_MSGID", 4},
        {"ZEL_HDR_NUMFIELDS", 2},
    }
    local USER_DATA, VAR_USER_DATA = 6, 7

    local FRAMING = 8
    local MOST_PAYLOAD = 12288
    -- Packing: the payload is compressed, unless it is also marked as uncompressed.
    local COMPRESSED, MARKED_PLAIN = 4, 8

    -- One hex digit of the flags.
    local function nibble(flags, shift)
        return floor(flags / shift) % 16
    end

    local add_number = {}

    function add_number.ZEL_HDR_FLAGS(tree, tvb, data, at, header)
        local flags, range = read_word(data, at), tvb(at - 1, 2)
        header.encryption, header.packing = nibble(flags, 4096), nibble(flags, 256)
        header.format, header.version = nibble(flags, 16), flags % 16
        local item = tree:add(filter_fields.flags, range, flags)
        local encryption = item:add(filter_fields.encryption, range, flags)
        if header.encryption ~= 0 then
            encryption:append_text(" (the payload went through the data transform)")
        end
        local packing = item:add(filter_fields.packing, range, flags)
        packing:add(filter_fields.marked_plain, range, flags)
        packing:add(filter_fields.compressed, range, flags)
        packing:add(filter_fields.packing_bit2, range, flags)
        packing:add(filter_fields.sent, range, flags)
        item:add(filter_fields.format, range, flags)
        item:add(filter_fields.version, range, flags)
    end

    function add_number.ZEL_HDR_MSG_TYPE(tree, tvb, data, at, header)
        header.type, header.sub_type = read_short(data, at), read_short(data, at + 2)
        header.message = dictionary.message(header.type, header.sub_type)
        header.name = header.message and header.message.name or format("(unknown-%d/%d)", header.type, header.sub_type)
        tree:add(filter_fields.type, tvb(at - 1, 2), header.type)
        tree:add(filter_fields.sub_type, tvb(at + 1, 2), header.sub_type)
        local item = tree:add(filter_fields.message, tvb(at - 1, 4), header.name)
        if not header.message then
            item:add_proto_expert_info(problems.message_unknown,
                format("The dictionary has no message of type %d, sub-type %d", header.type, header.sub_type))
        end
    end

    function add_number.ZEL_HDR_SERVICEID(tree, tvb, data, at)
        tree:add(filter_fields.service, tvb(at - 1, 4), format("%d.%d", read_word(data, at), read_word(data, at + 2)))
    end

    function add_number.ZEL_HDR_MSGID(tree, tvb, data, at)
        tree:add(filter_fields.message_id, tvb(at - 1, 4),
            format("%d.%d.%d", read_word(data, at), byte(data, at + 2, at + 3)))
    end

    function add_number.ZEL_HDR_NUMFIELDS(tree, tvb, data, at, header)
        header.field_count = read_short(data, at)
        header.item = tree:add(filter_fields.field_count, tvb(at - 1, 2), header.field_count)
    end

    local function refuse(tree, tvb, at, text)
        local rest = tvb:len() - at + 1
        local item = rest > 0 and tree:add(filter_fields.undecoded, tvb(at - 1, rest)) or tree
        item:add_proto_expert_info(problems.header_bad, text)
        return nil
    end

    -- Adds the sixth field, which is of one of two kinds. Returns the place of the payload, or nil.
    local function add_user_data(tree, tvb, data, at)
        local id = read_word(data, at)
        if id == USER_DATA then
            if at + 5 > #data then
                return refuse(tree, tvb, at, "ZEL_HDR_USER_DATA is cut off")
            end
            tree:add(filter_fields.user_data, tvb(at + 1, 4), read_long(data, at + 2))
            return at + 6
        end
        if id ~= VAR_USER_DATA then
            return refuse(tree, tvb, at, "ZEL_HDR_USER_DATA is missing")
        end
        local size = read_word(data, at + 2)
        if not size or at + 3 + size > #data then
            return refuse(tree, tvb, at, "ZEL_HDR_VAR_USER_DATA is cut off")
        end
        local item = tree:add(filter_fields.var_user_data, tvb(at + 3, size))
        local _, shown = value_text.text(sub(data, at + 4, at + 3 + size))
        item:set_text("User data: " .. shown)
        return at + 4 + size
    end

    -- Adds the header at `at`. Returns its values and the place of the payload; or adds what is wrong and returns nil.
    local function add_header(parent, tvb, data, at)
        local tree = parent:add(filter_fields.header, tvb(at - 1))
        local header, first = {}, at
        for id, number in ipairs(numbers) do
            local name, size = number[1], number[2]
            if read_word(data, at) ~= id then
                return refuse(tree, tvb, at, name .. " is missing")
            end
            if at + 1 + size > #data then
                return refuse(tree, tvb, at, name .. " is cut off")
            end
            add_number[name](tree, tvb, data, at + 2, header)
            at = at + 2 + size
        end
        local payload_at = add_user_data(tree, tvb, data, at)
        if payload_at then
            tree:set_len(payload_at - first)
        end
        return payload_at and header, payload_at
    end

    local function compression_fault(data, at, expanded, compressed)
        if not expanded then
            return "The lengths before the compressed data are cut off"
        end
        if expanded > MOST_PAYLOAD then
            return format("%d bytes before compression; a payload has at most %d", expanded, MOST_PAYLOAD)
        end
        if compressed > #data - at + 1 - FRAMING then
            return format("%d bytes of compressed data announced, %d are there", compressed, #data - at + 1 - FRAMING)
        end
        return format("The compressed data are damaged, or do not expand to %d bytes", expanded)
    end

    -- The unsigned lengths before compressed data; nil when they are cut off.
    local function read_lengths(data, at)
        if at + FRAMING - 1 > #data then
            return nil, nil
        end
        return read_long(data, at) % 4294967296, read_long(data, at + 4) % 4294967296
    end

    -- Adds a compressed payload in a tab of its own. Returns its tvb and bytes; or adds what is wrong and returns nil.
    local function expand(tree, tvb, data, at)
        local expanded, compressed = read_lengths(data, at)
        local item = tree:add(filter_fields.compressed_payload, tvb(at - 1))
        item:set_text(format("Compressed payload, %d bytes", #data - at + 1))
        if expanded then
            item:add(filter_fields.expanded_length, tvb(at - 1, 4), expanded)
            item:add(filter_fields.compressed_length, tvb(at + 3, 4), compressed)
        end
        local fits = expanded and expanded <= MOST_PAYLOAD and compressed <= #data - at + 1 - FRAMING
        local last = fits and at + FRAMING + compressed - 1
        local bytes = fits and inflate(data, at + FRAMING, last, expanded)
        if not bytes then
            item:add_proto_expert_info(problems.compression_bad, compression_fault(data, at, expanded, compressed))
            return nil
        end
        if last < #data then
            item:add_proto_expert_info(problems.compression_odd, format("%d bytes after the compressed data", #data - last))
        end
        return ByteArray.new(bytes, true):tvb("Expanded payload"), bytes
    end

    -- Adds the message at data[at] to `tree`. Returns its header, or nil when it has none.
    function message.add(tree, tvb, data, at)
        local header, payload_at = add_header(tree, tvb, data, at)
        if not header then
            return nil
        end
        local is_compressed = floor(header.packing / COMPRESSED) % 2 == 1 and header.packing < MARKED_PLAIN
        if is_compressed then
            tvb, data = expand(tree, tvb, data, payload_at)
            payload_at = 1
        end
        if data then
            payload.add(tree, tvb, data, payload_at, header, header.message)
        end
        return header
    end
end
