-- The pose tracker script against the host stand-in, run with lua5.4:
--   lua5.4 tracker_test.lua TRACKER_DIR
-- from a scratch working directory (the tracker writes KorvathOnline/local_state.tsv relative to it).

local trackerDir = assert(arg[1], "usage: lua5.4 tracker_test.lua TRACKER_DIR")
package.path = trackerDir .. "/?.lua;" .. package.path
local Standin = require("host_standin")

local kFile = "KorvathOnline/local_state.tsv"

local function fresh_exchange_dir(present)
    assert(os.execute("rm -rf KorvathOnline" .. (present == false and "" or " && mkdir KorvathOnline")))
end

-- The row the file holds, checking that it is one record of 512 bytes: the row, then blanks.
local function read_file()
    local file = io.open(kFile, "rb")
    if file == nil then
        return nil
    end
    local content = file:read("a")
    file:close()
    local row = content:match("^([^\n]*\n) *$")
    assert(row and #content == 512, "not one record: " .. string.format("%q", content))
    return row
end

-- A tracker over a pawn whose pose the test sets (nil: no pawn).
local function start_tracker(pose, map)
    local world = { pose = pose }
    local host = Standin.new{ map = map, pose = function()
        if world.pose and world.pose.fail then
            error(world.pose.fail)
        end
        return table.unpack(world.pose or {})
    end }
    host:install()
    host:run_mod(trackerDir .. "/main.lua")
    return host, world
end

-- Nothing went wrong beyond what a test provokes: no callback raised, no line besides the banner.
local function expect_quiet(host)
    assert(#host.errors == 0, "host logged: " .. tostring(host.errors[1]))
    assert(#host.console == 1 and host.console[1]:find("writing KorvathOnline/local_state.tsv 20 times"),
        "console: " .. table.concat(host.console, " | "))
end

local function expect_eq(actual, expected, what)
    if actual ~= expected then
        error(string.format("%s: expected %q, got %q", what, tostring(expected), tostring(actual)), 2)
    end
end

local tests = {}
local function test(name, body)
    tests[#tests + 1] = { name, body }
end

-- One tracker through a game's life, step by step: at each time, what changes, then the row the file
-- holds (nil: no file). Rows come every 50 ms with the pose of that moment, the map, the host's clock
-- and one number up per row written.
test("a_game_session_from_no_pawn_to_a_map_change", function()
    fresh_exchange_dir(false)
    local host, world = start_tracker(nil, "Map_A")
    local function row(x, map, ms, sequence)
        return string.format("%s\t2.000\t3.000\t4.000\t%s\t%d\t%d\n", x, map, ms, sequence)
    end
    local steps = {
        { 1000, function() end, nil }, -- no pawn, no exchange directory
        { 1050, function() world.pose = { 1, 2, 3, 4 } end, nil }, -- the mod has not created the directory
        { 1100, function() assert(os.execute("mkdir KorvathOnline")) end, row("1.000", "Map_A", 1100, 1) },
        { 1149, function() world.pose = { 1.0004, 2, 3, 4 } end, row("1.000", "Map_A", 1100, 1) },
        { 1150, function() end, row("1.000", "Map_A", 1150, 2) },
        { 3000, function() world.pose = nil end, row("1.000", "Map_A", 1150, 2) }, -- the pawn left
        { 3050, function() world.pose = { -0.0004, 2, 3, 4 } end, row("-0.000", "Map_A", 3050, 3) },
        { 3100, function() host:load_map("Map_B") end, row("-0.000", "Map_B", 3100, 4) },
        -- A busy game thread (a map loading) holds one sample, run when it is free again.
        { 5000, function() host:stall_game_thread(true) end, row("-0.000", "Map_B", 3100, 4) },
        { 5001, function() host:stall_game_thread(false) end, row("-0.000", "Map_B", 5001, 5) },
        { 5050, function() world.pose = { 123456.789, 2, 3, 4 } end, row("123456.789", "Map_B", 5050, 6) },
        { 16150, function() end, row("123456.789", "Map_B", 16150, 228) }, -- 16.15 s * 1000 < 16150
        -- A pawn read that raises for a second is reported once, and the tracker goes on when it passes.
        { 17150, function() world.pose = { fail = "pawn read failed" } end,
            row("123456.789", "Map_B", 16150, 228) },
        { 17200, function() world.pose = { 1, 2, 3, 4 } end, row("1.000", "Map_B", 17200, 229) },
    }
    for index, step in ipairs(steps) do
        step[2]()
        host:advance_to(step[1])
        expect_eq(read_file(), step[3], "step " .. index .. " at " .. step[1] .. " ms")
        assert(#host.gameThreadQueue <= 1, "samples pile up on the game thread")
    end
    expect_eq(#host.errors, 0, "errors escaping the tracker")
    expect_eq(#host.console, 2, "console lines")
    assert(host.console[2]:find("pawn read failed"), host.console[2])
end)

test("values_that_would_break_the_row_are_not_written_as_they_are", function()
    local longMap = string.rep("m", 300)
    local cases = {
        -- pose, map, expected row or nil for none
        { { 1, 2, 3, 4 }, "Map\twith\ntabs\r", "1.000\t2.000\t3.000\t4.000\tMap_with_tabs_\t50\t1\n" },
        { { 1, 2, 3, 4 }, longMap, "1.000\t2.000\t3.000\t4.000\t" .. longMap:sub(1, 128) .. "\t50\t1\n" },
        { { 1, 2, 3, 4 }, "", "1.000\t2.000\t3.000\t4.000\t\t50\t1\n" },
        { { 0 / 0, 2, 3, 4 }, "Map_A", nil },
        { { 1, math.huge, 3, 4 }, "Map_A", nil },
        { { 1, 2, -1e39, 4 }, "Map_A", nil },
        { { 1, 2, 3 }, "Map_A", nil },
    }
    for index, case in ipairs(cases) do
        fresh_exchange_dir()
        local host = start_tracker(case[1], case[2])
        host:advance_to(50)
        expect_eq(read_file(), case[3], "case " .. index)
        expect_quiet(host)
    end
end)

local failed = 0
for _, case in ipairs(tests) do
    local ok, problem = pcall(case[2])
    failed = failed + (ok and 0 or 1)
    io.stdout:write(ok and "[ OK ] " or "[FAIL] ", case[1], ok and "" or ": " .. tostring(problem), "\n")
end
assert(os.execute("rm -rf KorvathOnline"))
os.exit(failed == 0 and 0 or 1)
