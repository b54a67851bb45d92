-- A stand-in for the mod host's Lua side, to run the pose tracker outside the game. It gives the globals the
-- tracker uses as one of two versions of the host gives them, over a world of one player controller, its pawn
-- and the map, on a clock that the caller advances:
--   "main"   (the current host): LoopInGameThreadWithDelay, CancelDelayedAction, ExecuteInGameThread and
--            LoopAsync; game-thread work runs on the engine's tick (its default method), once a frame;
--   "v3.0.1" (the last release): LoopAsync and ExecuteInGameThread; game-thread work runs in ProcessEvent,
--            which the engine calls all the time;
-- and in both IterateGameDirectories, RegisterLoadMapPostHook, RegisterKeyBind with the Key and ModifierKey
-- tables, FindFirstOf, the UEHelpers module, print, io.open with the host's narrow paths and os.clock as its C
-- runtime's clock(). It is as strict as the real host is
-- dangerous: engine objects may be touched only on the game thread and only while they are valid.
--
--   local host = Standin.new{ map = "Map_A", pose = function() return x, y, z, yaw end,
--                             gameDir = "/abs/Root/Game/Binaries/Win64" }
--   host:install(); host:run_mod("main.lua"); host:advance_to(1000)
--
-- Options:
--   pose          returns x, y, z, yaw, or nothing while there is no pawn
--   api           "main" (default) or "v3.0.1"
--   gameDir       absolute folder of the game's executable, <root>/<Game>/Binaries/Win64
--   ue4ssDir      folder of the host's DLL: gameDir (default) or gameDir/ue4ss
--   workingDir    where relative paths lead (default: the process's working directory, which is not the game
--                 folder unless the caller made it so)
--   codePage      "ascii" (default): the ANSI code page spells no character beyond ASCII, as Western code pages
--                 cannot spell Cyrillic or Japanese; "utf8": the system uses UTF-8 as its ANSI code page
--   frameMs       engine tick period ("main", default 1000/60); processEventMs (ProcessEvent, "v3.0.1", 1)
--   callerFrames  the caller's frames instead ("main"): each advance_to is one game-thread turn at its time
--   asyncSleepMs  the async thread's sleep between its passes over LoopAsync loops (5)
--   clockStartMs  clock()'s count at host time 0 (near 2^31 - 1 to reach its end)
--   echo          also write console lines to standard output

local Standin = {}
Standin.__index = Standin

-- The process's own functions, kept before install replaces them.
local realOpen = io.open

local kClockMax = 2147483647 -- the largest clock_t: clock() answers -1 beyond it

local kInvalid = setmetatable({}, {
    __index = function(_, key)
        if key == "IsValid" then
            return function() return false end
        end
        error("engine object used after it became invalid (" .. tostring(key) .. ")", 2)
    end,
})

-- An engine object whose methods and properties (read through getters) answer only on the game
-- thread and while the object is valid.
local function engine_object(host, methods, properties)
    local object = { valid = true }
    return setmetatable(object, {
        __index = function(self, key)
            if key == "IsValid" then
                return function() return self.valid end
            end
            if not host.onGameThread then
                error("engine object touched off the game thread (" .. tostring(key) .. ")", 2)
            end
            if not self.valid then
                error("engine object used after it became invalid (" .. tostring(key) .. ")", 2)
            end
            local getter = properties and properties[key]
            if getter then
                return getter()
            end
            return methods[key]
        end,
    })
end

function Standin.new(options)
    local api = options.api or "main"
    assert(api == "main" or api == "v3.0.1", "unknown host version " .. tostring(api))
    local turnMs = api == "main" and (options.frameMs or 1000 / 60) or (options.processEventMs or 1)
    local host = setmetatable({
        now = 0, -- milliseconds since the host started
        api = api,
        mapName = options.map or "Map_A",
        poseSource = options.pose,
        gameDir = options.gameDir,
        ue4ssDir = options.ue4ssDir or options.gameDir,
        workingDir = options.workingDir,
        codePage = options.codePage or "ascii",
        clockStartMs = options.clockStartMs or 0,
        echo = options.echo,
        console = {},       -- the script's print lines
        hostLog = {},       -- the host's own messages (a failed callback, a directory warning)
        errors = {},        -- errors raised by callbacks, which the real host only logs
        asyncLoops = {},    -- LoopAsync: { delay, createdAt, callback }
        pendingAsync = {},  -- registered since the async thread's last pass
        gameThreadQueue = {},
        delayedActions = {}, -- LoopInGameThreadWithDelay: { handle, delay, executeAt, callback }
        nextHandle = 1,
        loadMapHooks = {},
        keyBinds = {},      -- RegisterKeyBind: { key, modifiers (sorted codes), callback }
        onGameThread = false,
        stalled = false,
        loopFaults = 0,
        turnMs = turnMs,
        callerFrames = options.callerFrames and api == "main",
        asyncSleepMs = options.asyncSleepMs or 5,
    }, Standin)
    host.nextTurn = host.turnMs
    host.nextPass = host.asyncSleepMs
    host:new_world()
    return host
end

-- The objects of a freshly loaded map; those of the previous map become invalid.
function Standin:new_world()
    for _, object in ipairs({ self.world, self.controller, self.pawn }) do
        object.valid = false
    end
    local host = self
    local mapName = self.mapName
    self.pawn = nil
    self.world = engine_object(self, {
        GetFName = function() return { ToString = function() return mapName end } end,
        GetFullName = function() return "World /Game/Maps/" .. mapName .. "." .. mapName end,
    })
    self.controller = engine_object(self, {}, { Pawn = function() return host:current_pawn() end })
end

-- The controller's pawn: the same object while the pawn lives, a new one after it was gone.
function Standin:current_pawn()
    if self.poseSource() == nil then
        if self.pawn then
            self.pawn.valid = false
        end
        return kInvalid
    end
    if self.pawn == nil or not self.pawn.valid then
        local source = self.poseSource
        self.pawn = engine_object(self, {
            K2_GetActorLocation = function()
                local x, y, z = source()
                return { X = x, Y = y, Z = z }
            end,
            K2_GetActorRotation = function()
                local _, _, _, yaw = source()
                return { Pitch = 0.0, Yaw = yaw, Roll = 0.0 }
            end,
        })
    end
    return self.pawn
end

-- Keeps a console line in `lines` (and echoes it when asked).
function Standin:keep_line(lines, line)
    table.insert(lines, line)
    if self.echo then
        io.stdout:write(line)
        io.stdout:flush()
    end
end

-- A message of the host's own.
function Standin:log(line)
    self:keep_line(self.hostLog, line)
end

local function parent(path)
    return (path:gsub("/+[^/]*$", ""))
end

local function base_name(path)
    return path:match("([^/]*)$")
end

local function directory_exists(path)
    return os.rename(path, path) == true
end

local function shell_quote(text)
    return "'" .. text:gsub("'", "'\\''") .. "'"
end

-- IterateGameDirectories: the folders below the game's root (the parent of <Game>), each a table of its
-- subfolders by name (the game's own folder as "Game") whose __name and __absolute_path come through __index.
-- The current host gives the paths in UTF-8; v3.0.1 in the ANSI code page, failing on a name it cannot hold.
-- Both give nil when <Game>/Content is missing, as for a layout they do not know. v3.0.1 finds <Game> three
-- folders above its own DLL rather than two above the executable, so it knows no layout with the DLL in
-- Win64/ue4ss.
function Standin:game_directories()
    local from = self.api == "v3.0.1" and self.ue4ssDir or self.gameDir
    local game = from and parent(parent(from))
    if game == nil or not directory_exists(game .. "/Content") then
        self:log("IterateGameDirectories: Could not locate the root directory because the directory structure is "
            .. "unknown (not <RootGamePath>/Game/Binaries/Win64)\n")
        return nil
    end
    local root = parent(game)
    local codePage, api = self.codePage, self.api
    local function directory(path)
        if api == "v3.0.1" and codePage == "ascii" and path:find("[\128-\255]") then
            error("No mapping for the Unicode character exists in the target multi-byte code page.", 0)
        end
        local meta = { __name = base_name(path), __absolute_path = path }
        return setmetatable({}, {
            __index = function(_, key) return meta[key] end,
        })
    end
    local tables = { [root] = directory(root) }
    local listing = assert(io.popen("find " .. shell_quote(root) .. " -mindepth 1 -type d -print0"))
    local paths = {}
    for path in listing:read("a"):gmatch("([^\0]+)\0") do
        paths[#paths + 1] = path
    end
    listing:close()
    table.sort(paths) -- every folder after its parent
    for _, path in ipairs(paths) do
        local above = tables[parent(path)]
        if above then
            tables[path] = directory(path)
            rawset(above, path == game and "Game" or base_name(path), tables[path])
        end
    end
    return tables[root]
end

-- A loop's callback as the host calls it: an error it raises is logged and counted, never raised further.
-- `fault_loop_call` stands for an error that escapes a callback however careful it is.
function Standin:call(callback, loop)
    local ok, result
    if loop and self.loopFaults > 0 then
        self.loopFaults = self.loopFaults - 1
        ok, result = false, "error escaping the loop's callback"
    else
        ok, result = pcall(callback)
    end
    if not ok then
        table.insert(self.errors, tostring(result))
        self:log(tostring(result) .. "\n")
    end
    return ok, result
end

function Standin:install()
    local host = self
    package.loaded.UEHelpers = {
        GetPlayerController = function() return host.controller end,
        GetWorld = function() return host.world end,
    }
    FindFirstOf = function(className)
        local objects = {
            PlayerController = host.controller,
            BP_PlayerController_C = host.controller,
            BP_PlayerCharacter_C = host.pawn or kInvalid,
            World = host.world,
        }
        return objects[className] or kInvalid
    end
    -- Runs off the game thread, on the async thread's passes; see async_pass.
    LoopAsync = function(delayMs, callback)
        assert(math.type(delayMs) == "integer" and type(callback) == "function", "LoopAsync(integer, function)")
        table.insert(host.pendingAsync, { delay = delayMs, createdAt = host.now, callback = callback })
    end
    ExecuteInGameThread = function(callback)
        assert(type(callback) == "function", "ExecuteInGameThread(function)")
        table.insert(host.gameThreadQueue, callback)
    end
    if self.api == "main" then
        -- Due once `delayMs` have passed since it was made or its callback last returned; checked on every
        -- game-thread turn. An error is logged and the loop goes on; the callback's result means nothing.
        LoopInGameThreadWithDelay = function(delayMs, callback)
            assert(math.type(delayMs) == "integer" and type(callback) == "function",
                "LoopInGameThreadWithDelay(integer, function)")
            local handle = host.nextHandle
            host.nextHandle = handle + 1
            table.insert(host.delayedActions,
                { handle = handle, delay = delayMs, executeAt = host.now + delayMs, callback = callback })
            return handle
        end
        CancelDelayedAction = function(handle)
            for _, action in ipairs(host.delayedActions) do
                if action.handle == handle and not action.cancelled then
                    action.cancelled = true
                    return true
                end
            end
            return false
        end
    else
        LoopInGameThreadWithDelay, CancelDelayedAction = nil, nil
    end
    IterateGameDirectories = function() return host:game_directories() end
    -- Virtual-key codes, as the host's tables give them: letters, digits and function keys here.
    Key, ModifierKey = {}, { SHIFT = 0x10, CONTROL = 0x11, ALT = 0x12 }
    for i = 0, 25 do
        Key[string.char(65 + i)] = 0x41 + i
    end
    for i, name in ipairs({ "ZERO", "ONE", "TWO", "THREE", "FOUR", "FIVE", "SIX", "SEVEN", "EIGHT", "NINE" }) do
        Key[name] = 0x2F + i
    end
    for i = 1, 24 do
        Key["F" .. i] = 0x6F + i
    end
    RegisterKeyBind = function(key, modifiers, callback)
        if callback == nil then
            modifiers, callback = {}, modifiers
        end
        assert(math.type(key) == "integer" and key >= 0 and key <= 255, "RegisterKeyBind: key must be an integer 0-255")
        assert(type(modifiers) == "table" and type(callback) == "function", "RegisterKeyBind(key, [table], function)")
        local codes = {}
        for _, code in ipairs(modifiers) do
            assert(math.type(code) == "integer", "RegisterKeyBind: modifier keys must be integers")
            codes[#codes + 1] = code
        end
        table.sort(codes)
        table.insert(host.keyBinds, { key = key, modifiers = table.concat(codes, "+"), callback = callback })
    end
    RegisterLoadMapPostHook = function(callback)
        table.insert(host.loadMapHooks, callback)
    end
    print = function(...)
        local parts = table.pack(...)
        for i = 1, parts.n do
            parts[i] = tostring(parts[i])
        end
        host:keep_line(host.console, table.concat(parts, "\t"))
    end
    -- The C runtime's fopen with a narrow path, read in the ANSI code page; relative to the working directory.
    io.open = function(path, mode)
        if host.codePage == "ascii" and path:find("[\128-\255]") then
            return nil, path .. ": No such file or directory", 2
        end
        if host.workingDir and not path:find("^/") then
            path = host.workingDir .. "/" .. path
        end
        return realOpen(path, mode)
    end
    -- clock(): whole milliseconds since the process started, in a 32-bit clock_t; -1 beyond its range.
    os.clock = function()
        local ms = math.floor(host.clockStartMs + host.now)
        return (ms > kClockMax and -1 or ms) / 1000
    end
end

function Standin:run_mod(scriptPath)
    local chunk, problem = loadfile(scriptPath, "t")
    if chunk == nil then
        error(problem, 0)
    end
    chunk()
end

-- One pass of the host's async thread: loops registered since the last pass join; each whose delay has
-- passed since it was made or its callback last returned (in whole milliseconds) is called. A loop ends
-- when its callback returns true or raises.
function Standin:async_pass()
    for _, loop in ipairs(self.pendingAsync) do
        table.insert(self.asyncLoops, loop)
    end
    self.pendingAsync = {}
    local kept = {}
    for _, loop in ipairs(self.asyncLoops) do
        local keep = true
        if math.floor(self.now) - math.floor(loop.createdAt) >= loop.delay then
            local ok, finished = self:call(loop.callback, true)
            keep = ok and finished ~= true
            loop.createdAt = self.now
        end
        if keep then
            table.insert(kept, loop)
        end
    end
    self.asyncLoops = kept
end

-- One turn of the game thread: everything queued for it before the turn, then the delayed actions that are
-- due, each re-armed `delay` after the turn's callbacks returned.
function Standin:game_thread_turn()
    if self.stalled then
        return
    end
    local queue = self.gameThreadQueue
    self.gameThreadQueue = {}
    self.onGameThread = true
    for _, callback in ipairs(queue) do
        self:call(callback)
    end
    local due = {}
    for _, action in ipairs(self.delayedActions) do
        if not action.cancelled and self.now >= action.executeAt then
            table.insert(due, action)
        end
    end
    for _, action in ipairs(due) do
        if not action.cancelled then
            self:call(action.callback, true)
            action.executeAt = self.now + action.delay
        end
    end
    self.onGameThread = false
    local kept = {}
    for _, action in ipairs(self.delayedActions) do
        if not action.cancelled then
            table.insert(kept, action)
        end
    end
    self.delayedActions = kept
end

-- Moves the clock to `ms`, running on the way every pass of the async thread (every asyncSleepMs) and every
-- turn of the game thread (every frame, or every ProcessEvent call), in time order; with callerFrames, the
-- passes and then one turn at `ms`.
function Standin:advance_to(ms)
    if self.callerFrames then
        while self.nextPass <= ms do
            self.now = self.nextPass
            self:async_pass()
            self.nextPass = self.nextPass + self.asyncSleepMs
        end
        self.now = math.max(self.now, ms)
        self:game_thread_turn()
        return
    end
    while math.min(self.nextPass, self.nextTurn) <= ms do
        if self.nextPass <= self.nextTurn then
            self.now = self.nextPass
            self:async_pass()
            self.nextPass = self.nextPass + self.asyncSleepMs
        else
            self.now = self.nextTurn
            self:game_thread_turn()
            self.nextTurn = self.nextTurn + self.turnMs
        end
    end
    self.now = math.max(self.now, ms)
end

-- A map change: new world, controller and pawn objects, then the load-map hooks on the game thread.
function Standin:load_map(mapName)
    self.mapName = mapName
    self:new_world()
    self.onGameThread = true
    for _, hook in ipairs(self.loadMapHooks) do
        local ok, problem = pcall(hook, {}, self.world)
        if not ok then
            table.insert(self.errors, tostring(problem))
        end
    end
    self.onGameThread = false
end

-- A key pressed with its modifier keys (names in Key and ModifierKey): the bindings of exactly that
-- combination run, off the game thread, as the host's input thread runs them. Returns how many ran.
function Standin:press_key(keyName, modifierNames)
    local key = Key[keyName]
    local codes = {}
    for _, name in ipairs(modifierNames or {}) do
        codes[#codes + 1] = assert(ModifierKey[name], "no modifier key " .. tostring(name))
    end
    table.sort(codes)
    local combination, ran = table.concat(codes, "+"), 0
    for _, bind in ipairs(self.keyBinds) do
        if key ~= nil and bind.key == key and bind.modifiers == combination then
            self:call(bind.callback)
            ran = ran + 1
        end
    end
    return ran
end

-- While stalled (a map loading), the game thread runs nothing.
function Standin:stall_game_thread(stalled)
    self.stalled = stalled
end

-- The next `count` calls of any loop's callback fail as if an error had escaped it.
function Standin:fault_loop_calls(count)
    self.loopFaults = count
end

return Standin
