-- Wireshark dissector for the protocol between hosts and Tavrin operator panels. Wireshark loads it from a
-- plugin folder (see Help, About, Folders); tshark also with -X lua_script:brenholt.lua.
--
-- UDP 10250: beacons to hosts. UDP 10251: requests to a panel. UDP 10252: its replies.
-- A reply does not say what it answers: it belongs to the last request between the same two ends.

local tavrin = Proto("tavrin", "Tavrin Panel Protocol")

local BEACON_PORT, PANEL_PORT, HOST_PORT = 10250, 10251, 10252
local MAX_DATAGRAM, MAX_UDP = 1400, 65535
local GREETING = "is there anybody "
local RECORD_SIZE = 25
local PAGE_HEAD = 6
local PACKET_HEAD = 37
local LONGEST_PATH = 259

local COMMANDS = {
    TM = "sign of life", EX = "execute", CL = "close", RM = "remove file", MD = "make folder",
    FF = "find file", FD = "find folder", VS = "version words", IP = "identity",
    DR = "list folder", UP = "file from panel", DL = "file to panel", ML = "memory block to panel",
}

local f = {
    greeting = ProtoField.string("tavrin.beacon", "Greeting"),
    descriptor = ProtoField.string("tavrin.descriptor", "Descriptor"),
    project = ProtoField.string("tavrin.project", "Project"),
    processor = ProtoField.string("tavrin.processor", "Processor"),
    version = ProtoField.string("tavrin.version", "Version"),
    command = ProtoField.string("tavrin.command", "Command"),
    digit = ProtoField.string("tavrin.digit", "Sequence digit"),
    more = ProtoField.bool("tavrin.more", "More follows"),
    offset = ProtoField.uint32("tavrin.offset", "File offset", base.DEC_HEX),
    text = ProtoField.string("tavrin.text", "Text"),
    data = ProtoField.bytes("tavrin.data", "Data"),
    status = ProtoField.string("tavrin.reply", "Reply"),
    word = ProtoField.uint16("tavrin.word", "Word", base.HEX),
    count = ProtoField.int8("tavrin.count", "Records"),
    record = ProtoField.none("tavrin.record", "File record"),
    size = ProtoField.uint32("tavrin.record.size", "Size"),
    time = ProtoField.absolute_time("tavrin.record.time", "Last write", base.UTC),
    attributes = ProtoField.uint32("tavrin.record.attributes", "Attributes", base.HEX),
    folder = ProtoField.bool("tavrin.record.folder", "Folder", 32, nil, 0x10),
    reserved = ProtoField.bytes("tavrin.record.reserved", "Reserved"),
    name_length = ProtoField.uint8("tavrin.record.name_length", "Name length"),
    name = ProtoField.string("tavrin.record.name", "Name"),
    reply_in = ProtoField.framenum("tavrin.reply_in", "Reply in", base.NONE, frametype.RESPONSE),
    request_in = ProtoField.framenum("tavrin.request_in", "Request in", base.NONE, frametype.REQUEST),
    again = ProtoField.framenum("tavrin.repeats", "Sent again, first in", base.NONE,
        frametype.RETRANS_PREV),
    delay = ProtoField.relative_time("tavrin.delay", "Time since the request"),
}
tavrin.fields = f

local function issue(name, label, group, severity)
    return ProtoExpert.new("tavrin." .. name, label, expert.group[group], expert.severity[severity])
end

local e = {
    malformed = issue("malformed", "Malformed", "MALFORMED", "ERROR"),
    refused = issue("refused", "Refused", "RESPONSE_CODE", "NOTE"),
    sequence = issue("sequence", "Out of sequence", "SEQUENCE", "WARN"),
    repeated = issue("repeated", "Sent again", "SEQUENCE", "NOTE"),
    odd = issue("odd", "Hosts take this, but not as it was meant", "PROTOCOL", "WARN"),
}
tavrin.experts = e

-- What the first pass learned, by frame: requests, and the frame of a reply's request.
local requests, request_of, last_request

function tavrin.init()
    requests, request_of, last_request = {}, {}, {}
end

local function malformed(tree, range, text)
    if range then
        tree:add_tvb_expert_info(e.malformed, range, text)
    else
        tree:add_proto_expert_info(e.malformed, text)
    end
end

-- At most `length` bytes from `at`, as a string; fewer where the datagram ends.
local function bytes_at(buffer, at, length)
    length = math.min(length or MAX_UDP, buffer:len() - at)
    return length > 0 and buffer:raw(at, length) or ""
end

-- The bytes from `at` up to the first NUL or the end, and whether there was a NUL.
local function text_at(buffer, at)
    local raw = bytes_at(buffer, at)
    local nul = raw:find("\0", 1, true)
    return nul and raw:sub(1, nul - 1) or raw, nul ~= nil
end

-- Adds a field of `length` bytes as text; an empty field is shown where it would be.
local function add_text(tree, field, buffer, at, length)
    if length > 0 then
        tree:add_packet_field(field, buffer(at, length), ENC_UTF_8)
    else
        tree:add(field, "")
    end
end

local function quoted(text)
    return '"' .. text:gsub("[^\32-\126]", function(c) return ("\\x%02X"):format(c:byte()) end) .. '"'
end

-- 100 ns since 1 January 1601, high word first.
local function add_time(tree, range)
    local ticks = UInt64.new(range(4, 4):le_uint(), range(0, 4):le_uint())
    local second = UInt64.new(10000000)
    tree:add(f.time, range, NSTime.new((ticks / second):tonumber() - 11644473600,
        (ticks % second):tonumber() * 100))
end

-- The 25 bytes at `at`; the caller has checked that they are there. Gives item and name length.
local function add_record(tree, buffer, at)
    local item = tree:add(f.record, buffer(at, RECORD_SIZE))
    item:add_le(f.size, buffer(at, 4))
    add_time(item, buffer(at + 4, 8))
    item:add_le(f.attributes, buffer(at + 12, 4))
    item:add_le(f.folder, buffer(at + 12, 4))
    item:add(f.reserved, buffer(at + 16, 8))
    item:add(f.name_length, buffer(at + 24, 1))
    return item, buffer(at + 24, 1):uint()
end

local function add_name(item, buffer, at, length)
    add_text(item, f.name, buffer, at, length)
    item:set_len(RECORD_SIZE + length)
    item:append_text(": " .. quoted(bytes_at(buffer, at, length)))
end

-- Beacons

local function dissect_beacon(buffer, tree)
    if bytes_at(buffer, 0, #GREETING):lower() ~= GREETING then
        malformed(tree, buffer(), "Not a beacon: hosts drop it")
        return "not a beacon"
    end
    add_text(tree, f.greeting, buffer, 0, #GREETING)
    local at = #GREETING + 1
    local descriptor = text_at(buffer, at)
    if descriptor == "" then
        return "beacon without descriptor"
    end
    local item = tree:add_packet_field(f.descriptor, buffer(at, #descriptor), ENC_UTF_8)
    local project, processor, hundredths = descriptor:match("^(.*)_([AX][R8][M6])_(%d%d%d%d)$")
    if processor == "ARM" or processor == "X86" then
        add_text(tree, f.project, buffer, at, #project)
        tree:add(f.processor, buffer(at + #project + 1, 3))
        tree:add(f.version, buffer(at + #project + 5, 4), ("%.2f"):format(hundredths / 100))
    else
        item:add_proto_expert_info(e.odd, "Not <project>_<ARM|X86>_<four digits>: hosts make of it what they can")
    end
    return "beacon " .. quoted(descriptor)
end

-- Requests

-- What is between command and text. Each gives its length, and what it says for the info column;
-- nothing if it is malformed.
local function take_digit(buffer, tree, request)
    local digit = bytes_at(buffer, 6, 1)
    if not digit:find("^%d$") then
        return malformed(tree, nil, "No sequence digit at 6")
    end
    request.digit = digit
    tree:add(f.digit, buffer(6, 1))
    return 1, " " .. digit
end

local function take_digit_and_sign(buffer, tree, request)
    local length, info = take_digit(buffer, tree, request)
    local sign = bytes_at(buffer, 7, 1)
    if not length or not sign:find("^[+-]$") then
        return malformed(tree, nil, "No '+' or '-' at 7")
    end
    tree:add(f.more, buffer(7, 1), sign == "+")
    return length + 1, info .. sign
end

local function take_offset(buffer, tree)
    local digits = bytes_at(buffer, 6, 8)
    if #digits < 8 or digits:find("[^0-9A-F]") then
        return malformed(tree, nil, "No eight upper-case hexadecimal digits at 6")
    end
    tree:add(f.offset, buffer(6, 8), tonumber(digits, 16))
    return 8, " " .. digits
end

local PARAMETER = { DR = take_digit, DL = take_digit, ML = take_digit_and_sign, UP = take_offset }

-- The name area of DL counts the host's whole path, its length byte only the low 8 bits of that. Gives
-- the area's size and the name in it.
local function name_area(buffer, at, name_length)
    for _, size in ipairs({ name_length + 1, name_length + 257 }) do
        if size <= LONGEST_PATH + 1 and at + size <= buffer:len() then
            local nul = bytes_at(buffer, at, size):find("\0", 1, true)
            if nul then
                return size, nul - 1
            end
        end
    end
end

local function dissect_upload(buffer, tree, at)
    if buffer:len() < at + RECORD_SIZE then
        return malformed(tree, buffer(at), "The file record is cut")
    end
    local item, name_length = add_record(tree, buffer, at)
    if bytes_at(buffer, at + 16, 8) ~= ("\0"):rep(8) then
        malformed(item, buffer(at + 16, 8), "Reserved words are not 0")
    end
    local size, name = name_area(buffer, at + RECORD_SIZE, name_length)
    if not size then
        return malformed(item, nil, "The name area is cut or has no NUL")
    end
    add_name(item, buffer, at + RECORD_SIZE, name)
    local data = at + RECORD_SIZE + size
    if data == buffer:len() then
        return malformed(tree, nil, "No file data")
    end
    tree:add(f.data, buffer(data))
    return (", %d bytes"):format(buffer:len() - data)
end

-- Takes a request apart into the tree and into `request`; gives its line.
local function dissect_request_bytes(buffer, tree, request)
    local name = bytes_at(buffer, 4, 2)
    if bytes_at(buffer, 0, 4) ~= "Cmd=" or not COMMANDS[name] then
        malformed(tree, buffer(), 'Not a request: no "Cmd=" with a known command')
        return "not a request"
    end
    request.command = name
    tree:add(f.command, buffer(4, 2)):append_text(" (" .. COMMANDS[name] .. ")")
    local take = PARAMETER[name] or function() return 0, "" end
    local length, info = take(buffer, tree, request)
    if not length then
        return name .. " malformed"
    end
    local at = 6 + length
    local text, ended = text_at(buffer, at)
    add_text(tree, f.text, buffer, at, #text)
    local line = name .. info .. (text ~= "" and " " .. quoted(text) or "")
    local payload = at + #text + 1
    if not ended then
        malformed(tree, nil, "No NUL after the text")
    elseif name == "DL" then
        line = line .. (dissect_upload(buffer, tree, payload) or "")
    elseif payload < buffer:len() then
        tree:add(f.data, buffer(payload))
        line = line .. (", %d bytes"):format(buffer:len() - payload)
        if name ~= "ML" then
            malformed(tree, buffer(payload), "Bytes after the text of a command without payload")
        end
    elseif name == "ML" then
        malformed(tree, nil, "No data")
    end
    return line
end

local function remember_request(pinfo, request, ends, bytes)
    local before = requests[last_request[ends]]
    if before and before.bytes == bytes and not before.answered then
        request.first = before.first or before.frame
    end
    request.frame, request.time, request.bytes = pinfo.number, pinfo.rel_ts, bytes
    requests[pinfo.number] = request
    last_request[ends] = pinfo.number
end

local function dissect_request(buffer, pinfo, tree)
    local request = {}
    local line = dissect_request_bytes(buffer, tree, request)
    if not pinfo.visited then
        remember_request(pinfo, request, tostring(pinfo.src) .. " " .. tostring(pinfo.dst), bytes_at(buffer, 0))
    end
    request = requests[pinfo.number]
    if request.first then
        tree:add(f.again, request.first):set_generated()
        tree:add_proto_expert_info(e.repeated, "Sent again: frame " .. request.first)
        line = line .. " [again]"
    end
    if request.answered then
        tree:add(f.reply_in, request.answered):set_generated()
    end
    return line
end

-- Replies, by the command of their request. Each gives what it adds to the line.

local function refuse(tree, text)
    tree:add_proto_expert_info(e.refused, text)
end

local function expect_ack(_, tree, text)
    if text ~= "ACK" then
        refuse(tree, 'Not "ACK": the command fails')
    end
end

local function expect_block_ack(_, tree, text)
    if text:upper() ~= "ACK" then
        refuse(tree, 'Not "ACK": hosts send the datagram again')
    end
end

local function expect_digit(buffer, tree, text, request)
    if text:sub(1, 3) ~= "ACK" then
        return refuse(tree, 'No "ACK": hosts send the datagram again')
    end
    local digit = text:sub(4, 4)
    if digit ~= "" then
        tree:add(f.digit, buffer(3, 1))
    end
    if digit ~= request.digit then
        tree:add_proto_expert_info(e.sequence, ("Acknowledges %s, the request has %s: hosts send it again")
            :format(quoted(digit), quoted(request.digit or "")))
    end
end

local function dissect_words(buffer, tree, text)
    if text == "NAK" then
        return refuse(tree, "Refused")
    elseif #text < 15 then
        return malformed(tree, buffer(), "Fewer than 15 characters")
    end
    for at = 3, 11, 4 do
        local digits = text:sub(at + 1, at + 4)
        local value = tonumber(digits:match("^%x+") or "0", 16)
        local item = tree:add(f.word, buffer(at, 4), value)
        if not digits:find("^%x%x%x%x$") then
            malformed(item, nil, "Not four hexadecimal digits")
        end
    end
end

local function dissect_identity(buffer, tree, text)
    if text == "NAK" then
        return refuse(tree, "Refused")
    elseif #text < 12 or text:sub(1, 2) ~= "IP" then
        return malformed(tree, buffer(), 'Not "IP" with at least 12 characters')
    end
    local processor, hundredths = text:sub(4, 6), text:sub(8, 11)
    local item = tree:add(f.processor, buffer(3, 3))
    if processor ~= "ARM" and processor ~= "X86" then
        malformed(item, nil, "Neither ARM nor X86")
    end
    item = tree:add(f.version, buffer(7, 4), ("%.2f"):format((tonumber(hundredths:match("^%d+")) or 0) / 100))
    if not hundredths:find("^%d%d%d%d$") then
        malformed(item, nil, "Not four digits")
    end
    add_text(tree, f.project, buffer, 12, #text - 12)
end

-- Position 3, after at least three characters of text; adds it with what `more` makes of it.
local function add_marker(buffer, tree, text, more)
    if #text < 3 then
        return malformed(tree, buffer(), "The text is shorter than 3 characters")
    end
    tree:add(f.more, buffer(3, 1), more)
    return more and ", more follows" or ", last"
end

local function dissect_page(buffer, tree, text)
    if text:upper() == "NAK" then
        return refuse(tree, "Refused")
    elseif buffer:len() < PAGE_HEAD then
        return malformed(tree, buffer(), "The page is cut: no record count at 5")
    end
    local more = add_marker(buffer, tree, text, bytes_at(buffer, 3, 1) == "+")
    local count = buffer(5, 1):int()
    tree:add(f.count, buffer(5, 1))
    local at = PAGE_HEAD
    for index = 1, count do
        local left = buffer:len() - at
        if left < RECORD_SIZE or left < RECORD_SIZE + buffer(at + 24, 1):uint() then
            malformed(tree, left > 0 and buffer(at) or nil,
                ("Record %d of %d runs past the end: the listing fails"):format(index, count))
            return (", %d records, cut"):format(count)
        end
        local item, length = add_record(tree, buffer, at)
        add_name(item, buffer, at + RECORD_SIZE, length)
        at = at + RECORD_SIZE + length
    end
    if at < buffer:len() then
        malformed(tree, buffer(at), "Bytes after the last record")
    end
    return (", %d records%s"):format(count, more or "")
end

local function dissect_packet(buffer, tree, text)
    if text:upper() == "NAK" then
        return refuse(tree, "Refused")
    elseif buffer:len() < PACKET_HEAD then
        return malformed(tree, buffer(), "Shorter than the head of 37 bytes: hosts ask again")
    end
    local more = add_marker(buffer, tree, text, bytes_at(buffer, 3, 1) ~= "0")
    add_time(tree, buffer(9, 8))
    if buffer:len() > PACKET_HEAD then
        tree:add(f.data, buffer(PACKET_HEAD))
    elseif bytes_at(buffer, 3, 1) ~= "0" then
        tree:add_proto_expert_info(e.odd, "No data, but more follows: hosts ask for the same offset again")
    end
    return (", %d bytes%s"):format(buffer:len() - PACKET_HEAD, more or "")
end

local ANSWER = {
    RM = expect_ack, MD = expect_ack, FF = expect_ack, FD = expect_ack, VS = dissect_words,
    IP = dissect_identity, DR = dissect_page, UP = dissect_packet, DL = expect_digit,
    ML = expect_block_ack,
}

local function match_reply(pinfo, tree, ends)
    if not pinfo.visited and last_request[ends] then
        local request = requests[last_request[ends]]
        request_of[pinfo.number] = request.frame
        request.answered = request.answered or pinfo.number
    end
    local request = requests[request_of[pinfo.number]]
    if not request then
        tree:add_proto_expert_info(e.sequence, "No request in this capture")
        return {}
    end
    tree:add(f.request_in, request.frame):set_generated()
    local delay = pinfo.rel_ts - request.time
    tree:add(f.delay, NSTime.new(math.floor(delay), math.floor(delay % 1 * 1e9 + 0.5))):set_generated()
    if request.answered ~= pinfo.number then
        tree:add_proto_expert_info(e.sequence,
            "The request was answered in frame " .. request.answered .. " already: late or duplicated")
    end
    return request
end

local function dissect_reply(buffer, pinfo, tree)
    if pinfo.src_port ~= PANEL_PORT then
        tree:add_proto_expert_info(e.sequence, "Not from port 10251: it ends the attempt of a host")
    end
    local request = match_reply(pinfo, tree, tostring(pinfo.dst) .. " " .. tostring(pinfo.src))
    local text = text_at(buffer, 0)
    add_text(tree, f.status, buffer, 0, #text)
    local answer = ANSWER[request.command]
    local info = answer and answer(buffer, tree, text, request) or ""
    local label = request.command and request.command .. " reply " or "reply "
    return label .. quoted(text) .. info
end

function tavrin.dissector(buffer, pinfo, root)
    pinfo.cols.protocol = "Tavrin"
    local tree = root:add(tavrin, buffer())
    if buffer:len() > MAX_DATAGRAM then
        malformed(tree, buffer(), "More than 1400 bytes: the receiver drops it")
    end
    local line
    if pinfo.dst_port == PANEL_PORT then
        line = dissect_request(buffer, pinfo, tree)
    elseif pinfo.dst_port == BEACON_PORT then
        line = dissect_beacon(buffer, tree)
    else
        line = dissect_reply(buffer, pinfo, tree)
    end
    pinfo.cols.info = line
    tree:append_text(": " .. line)
end

local ports = DissectorTable.get("udp.port")
for _, port in ipairs({ BEACON_PORT, PANEL_PORT, HOST_PORT }) do
    ports:add(port, tavrin)
end
