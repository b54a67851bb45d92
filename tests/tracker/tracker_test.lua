-- The pose tracker script against the host stand-in, run with lua5.4:
--   lua5.4 tracker_test.lua TRACKER_DIR
-- from a scratch working directory (the tracker writes KorvathOnline/local_state.tsv relative to it).

local trackerDir = assert(arg[1], "usage: lua5.4 tracker_test.lua TRACKER_DIR")
package.path = trackerDir .. "/?.lua;" .. package.path
local Standin = require("host_standin")

local kFile = "KorvathOnline/local_state.tsv"

local function fresh_exchange_dir(present)
    assert(os.execute("rm -rf KorvathOnline"))
    if present ~= false then
        assert(os.execute("mkdir KorvathOnline"))
    end
end

-- The row the file holds, checking that it is one record of 512 bytes: the row, then blanks.
local function read_file()
    local file = io.open(kFile, "rb")
    if file == nil then
        return nil
    end
    local content = file:read("a")
    file:close()
    local row, padding = content:match("^([^\n]*\n)( *)$")
    assert(row and #content == 512, "not one record: " .. string.format("%q", content))
    return row
end

local function fields(row)
    local out = {}
    for field in (row:gsub("\n$", "") .. "\t"):gmatch("([^\t]*)\t") do
        table.insert(out, field)
    end
    return out
end

-- A tracker over a pawn whose pose the test sets (nil: no pawn).
local function start_tracker(pose, map)
    local world = { pose = pose }
    local host = Standin.new{ map = map, pose = function()
        if world.pose == nil then
            return nil
        end
        if world.pose.fail then
            error(world.pose.fail)
        end
        return table.unpack(world.pose)
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

tests.rows_carry_the_pose_map_sample_time_and_sequence_twenty_times_a_second = function()
    fresh_exchange_dir()
    local host, world = start_tracker({ 100.5, -20.25, 35.125, 90 }, "Map_A")
    host:advance_to(49)
    expect_eq(read_file(), nil, "before the first period")
    host:advance_to(50)
    expect_eq(read_file(), "100.500\t-20.250\t35.125\t90.000\tMap_A\t50\t1\n", "first row")
    -- The pose at the moment of each sample, rounded to three decimals.
    world.pose = { -0.0004, 123456.789, -1e6, -179.9996 }
    host:advance_to(1000)
    expect_eq(read_file(), "-0.000\t123456.789\t-1000000.000\t-180.000\tMap_A\t1000\t20\n", "row at 1 s")
    expect_quiet(host)
end

tests.nothing_is_written_while_there_is_no_pawn = function()
    fresh_exchange_dir()
    local host, world = start_tracker(nil, "Map_A")
    host:advance_to(1000)
    expect_eq(read_file(), nil, "no pawn yet")
    world.pose = { 1, 2, 3, 4 }
    host:advance_to(1050)
    expect_eq(read_file(), "1.000\t2.000\t3.000\t4.000\tMap_A\t1050\t1\n", "the pawn appeared")
    world.pose = nil
    host:advance_to(5000)
    expect_eq(read_file(), "1.000\t2.000\t3.000\t4.000\tMap_A\t1050\t1\n", "the pawn left")
    world.pose = { 5, 6, 7, 8 }
    host:advance_to(5050)
    expect_eq(read_file(), "5.000\t6.000\t7.000\t8.000\tMap_A\t5050\t2\n", "a new pawn")
    expect_quiet(host)
end

tests.a_map_change_is_followed_with_the_new_objects = function()
    fresh_exchange_dir()
    local host = start_tracker({ 1, 2, 3, 4 }, "Map_A")
    host:advance_to(100)
    expect_eq(fields(read_file())[5], "Map_A", "first map")
    host:load_map("Map_B")
    host:advance_to(150)
    expect_eq(read_file(), "1.000\t2.000\t3.000\t4.000\tMap_B\t150\t3\n", "after the map change")
    expect_quiet(host)
end

tests.a_busy_game_thread_holds_at_most_one_sample = function()
    fresh_exchange_dir()
    local host = start_tracker({ 1, 2, 3, 4 }, "Map_A")
    host:advance_to(50)
    host:stall_game_thread(true)
    host:advance_to(2000)
    expect_eq(#host.gameThreadQueue, 1, "samples waiting")
    expect_eq(fields(read_file())[7], "1", "sequence while stalled")
    host:stall_game_thread(false)
    host:advance_to(2001)
    expect_eq(read_file(), "1.000\t2.000\t3.000\t4.000\tMap_A\t2001\t2\n", "the one sample that waited")
    expect_quiet(host)
end

tests.values_that_would_break_the_row_are_not_written_as_they_are = function()
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
        assert(#host.errors == 0, "case " .. index .. ": " .. tostring(host.errors[1]))
    end
end

tests.an_existing_file_is_overwritten_in_place_whatever_it_held = function()
    for _, before in ipairs({ "", "9\t9\t9\t9\tOld\n", string.rep("x", 700) }) do
        fresh_exchange_dir()
        local file = assert(io.open(kFile, "wb"))
        file:write(before)
        file:close()
        local host = start_tracker({ 1, 2, 3, 4 }, "Map_A")
        host:advance_to(50)
        local content = assert(io.open(kFile, "rb")):read("a")
        local row = "1.000\t2.000\t3.000\t4.000\tMap_A\t50\t1\n"
        expect_eq(content:sub(1, 512), row .. string.rep(" ", 512 - #row), "the record")
        expect_eq(#content, math.max(512, #before), "size")
        expect_quiet(host)
    end
end

tests.without_the_exchange_directory_it_waits_for_the_mod_to_create_it = function()
    fresh_exchange_dir(false)
    local host = start_tracker({ 1, 2, 3, 4 }, "Map_A")
    host:advance_to(1000)
    expect_eq(read_file(), nil, "no directory")
    assert(os.execute("mkdir KorvathOnline"))
    host:advance_to(1050)
    expect_eq(read_file(), "1.000\t2.000\t3.000\t4.000\tMap_A\t1050\t1\n", "first row")
    expect_quiet(host)
end

tests.an_engine_failure_is_reported_once_and_the_tracker_recovers = function()
    fresh_exchange_dir()
    local host, world = start_tracker({ fail = "pawn read failed" }, "Map_A")
    host:advance_to(1000)
    expect_eq(read_file(), nil, "while failing")
    expect_eq(#host.console, 2, "console lines")
    assert(host.console[2]:find("pawn read failed"), host.console[2])
    world.pose = { 1, 2, 3, 4 }
    host:advance_to(1050)
    expect_eq(read_file(), "1.000\t2.000\t3.000\t4.000\tMap_A\t1050\t1\n", "after recovery")
    expect_eq(#host.errors, 0, "errors escaping the tracker")
end

local names = {}
for name in pairs(tests) do
    table.insert(names, name)
end
table.sort(names)
local passed, failed = 0, 0
for _, name in ipairs(names) do
    local ok, problem = pcall(tests[name])
    if ok then
        passed = passed + 1
        io.stdout:write("[ OK ] ", name, "\n")
    else
        failed = failed + 1
        io.stdout:write("[FAIL] ", name, ": ", tostring(problem), "\n")
    end
end
assert(os.execute("rm -rf KorvathOnline"))
io.stdout:write(string.format("%d passed, %d failed\n", passed, failed))
os.exit(failed == 0 and 0 or 1)
