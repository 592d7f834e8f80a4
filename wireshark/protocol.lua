-- What Wireshark knows of the protocol: the filter fields, with those of the dictionary, and the expert infos.
local zel = Proto("zel", "ZEL message protocol")
local filter_fields = {
    frame = ProtoField.none("zel.frame", "Frame"),
    frame_soh = ProtoField.uint8("zel.frame.soh", "SOH", base.HEX),
    frame_format = ProtoField.uint8("zel.frame.format", "Format", base.DEC, {[1] = "short", [3] = "long"}, 0xF0),
    frame_length = ProtoField.int32("zel.frame.length", "Length"),
    header = ProtoField.none("zel.header", "Header"),
    flags = ProtoField.uint16("zel.flags", "Flags", base.HEX),
    encryption = ProtoField.uint16("zel.encryption", "Encryption", base.DEC, nil, 0xF000),
    packing = ProtoField.uint16("zel.packing", "Packing", base.DEC, nil, 0x0F00),
    marked_plain = ProtoField.bool("zel.packing.plain", "Marked, but plain", 16, nil, 0x0800),
    compressed = ProtoField.bool("zel.packing.compressed", "Compressed", 16, nil, 0x0400),
    packing_bit2 = ProtoField.bool("zel.packing.bit2", "Without a meaning", 16, nil, 0x0200),
    sent = ProtoField.bool("zel.packing.sent", "Sent by a message object", 16, nil, 0x0100),
    format = ProtoField.uint16("zel.format", "Field format", base.DEC,
        {[0] = "id, value", [1] = "value", [2] = "id, length, value"}, 0x00F0),
    version = ProtoField.uint16("zel.version", "Version", base.DEC, nil, 0x000F),
    type = ProtoField.int16("zel.type", "Type"),
    sub_type = ProtoField.int16("zel.subtype", "Sub-type"),
    message = ProtoField.string("zel.message", "Message"),
    service = ProtoField.string("zel.service", "Service"),
    message_id = ProtoField.string("zel.msgid", "Message id"),
    field_count = ProtoField.int16("zel.numfields", "Number of fields"),
    user_data = ProtoField.int32("zel.userdata", "User data"),
    var_user_data = ProtoField.bytes("zel.varuserdata", "User data"),
    compressed_payload = ProtoField.bytes("zel.compressed", "Compressed payload"),
    expanded_length = ProtoField.uint32("zel.compressed.expanded", "Length before compression"),
    compressed_length = ProtoField.uint32("zel.compressed.length", "Length of the compressed data"),
    repetition = ProtoField.uint16("zel.repetition", "Repetition"),
    filter_term = ProtoField.string("zel.filter.term", "Term"),
    sort_key = ProtoField.string("zel.sort.key", "Key"),
    unknown_field = ProtoField.bytes("zel.unknown", "Field that the dictionary does not have"),
    undecoded = ProtoField.bytes("zel.undecoded", "Bytes that are no fields"),
    no_frame = ProtoField.bytes("zel.noframe", "Bytes that are not a frame"),
}

-- Errors: the library refuses the message. Warnings: it skips something. Notes: odd, but accepted.
local problems = {}

-- The description of a field, shown after its value.
local function describe(id, field, type_name)
    local text = field.text ~= "" and ": " .. field.text or ""
    return " [" .. id .. ", " .. type_name .. ", version " .. field.version .. text .. "]"
end

do
    local problem_list = {
        {"no_frame", expert.group.UNDECODED, expert.severity.WARN, "Bytes that are not a frame"},
        {"frame_odd", expert.group.PROTOCOL, expert.severity.NOTE, "Frame with bits that have no meaning"},
        {"frame_cut", expert.group.UNDECODED, expert.severity.NOTE, "The capture has only a part of the frame"},
        {"header_bad", expert.group.MALFORMED, expert.severity.ERROR, "No header"},
        {"message_unknown", expert.group.MALFORMED, expert.severity.ERROR, "Message that the dictionary does not have"},
        {"format_bad", expert.group.MALFORMED, expert.severity.ERROR, "Invalid field format"},
        {"compression_bad", expert.group.MALFORMED, expert.severity.ERROR, "Payload that cannot be expanded"},
        {"compression_odd", expert.group.PROTOCOL, expert.severity.WARN, "Bytes after the compressed data"},
        {"field_cut", expert.group.MALFORMED, expert.severity.ERROR, "Field that runs past the end"},
        {"field_short", expert.group.MALFORMED, expert.severity.ERROR, "Value shorter than its type"},
        {"field_long", expert.group.PROTOCOL, expert.severity.WARN, "Value longer than its type"},
        {"field_unknown", expert.group.UNDECODED, expert.severity.WARN, "Field that the dictionary does not have"},
        {"field_lost", expert.group.MALFORMED, expert.severity.ERROR, "Field after which the repetitions cannot be found"},
        {"field_unlisted", expert.group.PROTOCOL, expert.severity.WARN, "Field that the message does not have room for"},
        {"repetitions_bad", expert.group.MALFORMED, expert.severity.ERROR, "Impossible number of repetitions"},
        {"fields_few", expert.group.PROTOCOL, expert.severity.WARN, "Number of fields that differs from the payload"},
        {"fields_rest", expert.group.UNDECODED, expert.severity.WARN, "Bytes after the last field"},
        {"value_odd", expert.group.PROTOCOL, expert.severity.NOTE, "Invalid value"},
        {"stream_bad", expert.group.PROTOCOL, expert.severity.NOTE, "Filter or sort data that cannot be read"},
    }
    for _, row in ipairs(problem_list) do
        local name, group, severity, text = row[1], row[2], row[3], row[4]
        problems[name] = ProtoExpert.new("zel.problem." .. name, text, group, severity)
    end

    -- The types of fields: their names, and the types of their filters.
    local types = {
        {"short", ftypes.INT16, base.DEC}, {"long", ftypes.INT32, base.DEC}, {"int", ftypes.INT32, base.DEC},
        {"chars", ftypes.STRING, base.NONE}, {"text", ftypes.STRING, base.NONE}, {"float", ftypes.FLOAT, base.NONE},
        {"double", ftypes.DOUBLE, base.NONE}, {"datetime", ftypes.STRING, base.NONE}, {"money", ftypes.DOUBLE, base.NONE},
        {"bytes10", ftypes.BYTES, base.NONE}, {"bytes11", ftypes.BYTES, base.NONE},
    }
    local MONEY = 9

    local used = {}
    -- Lower case, with letters, digits and "_" only; the id is appended to a name that is taken.
    local function filter_name(id, name)
        local filter = "zel.field." .. name:lower():gsub("[^%w_]", "_")
        if used[filter] then
            filter = filter .. "_" .. id
        end
        used[filter] = true
        return filter
    end

    local function new_filter(field, name, suffix, kind, shown_in)
        local about = field.text ~= "" and field.text or nil
        local filter = ProtoField.new(field.name .. suffix, name, kind, nil, shown_in, nil, about)
        table.insert(filter_fields, filter)
        return filter
    end

    local function describe_field(id, field)
        local name, kind = filter_name(id, field.name), types[field.type]
        field.id = id
        field.head = field.name .. ": "
        field.tail = describe(id, field, kind[1])
        field.filter = new_filter(field, name, "", kind[2], kind[3])
        if field.type == MONEY then
            field.text_filter = new_filter(field, name .. ".text", " as text", ftypes.STRING, base.NONE)
        end
    end

    for id = 1, dictionary.highest_id do
        local field = dictionary.fields[id]
        if field then
            describe_field(id, field)
        end
    end
    zel.fields = filter_fields
    zel.experts = problems
end
