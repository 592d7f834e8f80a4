-- Adds the value of a field to the tree: the value for filters, and the text of `zel decode`.
local values = {}
do
    local byte, sub, gsub, format = string.byte, string.sub, string.gsub, string.format

    -- A number without a sign, or nil when it is not all there.
    function values.read_word(data, at)
        local high, low = byte(data, at, at + 1)
        return low and high * 256 + low
    end

    local function read_short(data, at)
        local high, low = byte(data, at, at + 1)
        local number = high * 256 + low
        return number < 32768 and number or number - 65536
    end
    values.read_short = read_short

    local function read_long(data, at)
        local b1, b2, b3, b4 = byte(data, at, at + 3)
        local number = ((b1 * 256 + b2) * 256 + b3) * 256 + b4
        return number < 2147483648 and number or number - 4294967296
    end
    values.read_long = read_long

    -- What each of these adds covers `range`. Data and tvb hold the same bytes, counted from 1 and from 0.

    local function add_short(tree, range, field, data, at)
        local number = read_short(data, at)
        return tree:add(field.filter, range, number, field.head .. number .. field.tail)
    end

    local function add_long(tree, range, field, data, at)
        local number = read_long(data, at)
        return tree:add(field.filter, range, number, field.head .. number .. field.tail)
    end

    local function add_characters(tree, range, field, text)
        local compared, shown = value_text.text(text)
        return tree:add(field.filter, range, compared, field.head .. shown .. field.tail)
    end

    -- Short values are padded with zero bytes.
    local function add_chars(tree, range, field, data, at, size)
        local text = sub(data, at, at + size - 1)
        if byte(text, -1) == 0 then
            text = gsub(text, "%z+$", "")
        end
        return add_characters(tree, range, field, text)
    end

    local function add_text(tree, range, field, data, at, size)
        return add_characters(tree, range, field, sub(data, at, at + size - 1))
    end

    local function add_float(tree, range, field, data, at, _, tvb)
        local number = tvb(at - 1, 4):float()
        return tree:add(field.filter, range, number,
            field.head .. value_text.float(number, format("%02x%02x%02x%02x", byte(data, at, at + 3))) .. field.tail)
    end

    local function add_double(tree, range, field, data, at, _, tvb)
        local number = tvb(at - 1, 8):float()
        return tree:add(field.filter, range, number,
            field.head .. value_text.double(number, format(("%02x"):rep(8), byte(data, at, at + 7))) .. field.tail)
    end

    local function add_date_time(tree, range, field, data, at)
        local text, good = value_text.date_time(data, at)
        local item = tree:add(field.filter, range, text, field.head .. text .. field.tail)
        if not good then
            item:add_proto_expert_info(problems.value_odd, field.name .. " is no date or time")
        end
        return item
    end

    -- Filters compare the number; with an invalid display code there is none.
    local function add_money(tree, range, field, data, at)
        local code = read_short(data, at + 4)
        local text, number = value_text.money(read_long(data, at), code)
        local label = field.head .. text .. field.tail
        if number then
            local item = tree:add(field.filter, range, number, label)
            item:add(field.text_filter, range, text)
            return item
        end
        local item = tree:add(field.text_filter, range, text, label)
        item:add_proto_expert_info(problems.value_odd, field.name .. " has the display code " .. code .. ", which is invalid")
        return item
    end

    -- The tree takes the bytes from the packet, so the range must cover the value only.
    local function add_bytes(tree, _, field, data, at, size, tvb)
        local item = tree:add(field.filter, tvb(at - 1, size))
        return item:set_text(field.head .. value_text.bytes(data, at, size) .. field.tail)
    end

    -- By type: how to add a value, and the size on the wire of types with one size.
    local shapes = {
        {add_short, 2}, {add_long, 4}, {add_long, 4}, {add_chars}, {add_text}, {add_float, 4}, {add_double, 8},
        {add_date_time, 8}, {add_money, 6}, {add_bytes}, {add_bytes},
    }
    for _, field in pairs(dictionary.fields) do
        field.add, field.size = shapes[field.type][1], shapes[field.type][2]
        field.is_bytes = field.add == add_bytes
    end
end
