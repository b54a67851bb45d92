-- A stand-in for the mod host's Lua side, to run the pose tracker outside the game: the globals the
-- tracker uses (LoopAsync, ExecuteInGameThread, RegisterLoadMapPostHook, FindFirstOf, the UEHelpers
-- module, print, and os.clock as the host's C runtime gives it) over a world of one player controller,
-- its pawn and the map, on a clock that the caller advances. It is as strict as the real host is
-- dangerous: engine objects may be touched only on the game thread and only while they are valid.
--
--   local host = Standin.new{ map = "Map_A", pose = function() return x, y, z, yaw end }
--   host:install(); host:run_mod("main.lua"); host:advance_to(1000)
--
-- `pose` returns nothing while there is no pawn.

local Standin = {}
Standin.__index = Standin

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
    local host = setmetatable({
        now = 0,                -- milliseconds since the host started
        mapName = options.map or "Map_A",
        poseSource = options.pose,
        echo = options.echo,    -- also write console lines to standard output
        console = {},
        errors = {},            -- errors raised by callbacks, which the real host would only log
        loops = {},
        gameThreadQueue = {},
        loadMapHooks = {},
        onGameThread = false,
        stalled = false,
    }, Standin)
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
    LoopAsync = function(periodMs, callback)
        assert(math.type(periodMs) == "integer" and periodMs > 0, "LoopAsync needs a period in ms")
        table.insert(host.loops, { period = periodMs, due = host.now + periodMs, callback = callback })
    end
    ExecuteInGameThread = function(callback)
        table.insert(host.gameThreadQueue, callback)
    end
    RegisterLoadMapPostHook = function(callback)
        table.insert(host.loadMapHooks, callback)
    end
    print = function(...)
        local parts = table.pack(...)
        for i = 1, parts.n do
            parts[i] = tostring(parts[i])
        end
        local line = table.concat(parts, "\t")
        table.insert(host.console, line)
        if host.echo then
            io.stdout:write(line)
            io.stdout:flush()
        end
    end
    os.clock = function() return host.now / 1000 end
end

function Standin:run_mod(scriptPath)
    local chunk, problem = loadfile(scriptPath, "t")
    if chunk == nil then
        error(problem, 0)
    end
    chunk()
end

-- Runs `callback` as the host runs one: an error is logged, not raised.
function Standin:call(callback, ...)
    local ok, result = pcall(callback, ...)
    if not ok then
        table.insert(self.errors, tostring(result))
    end
    return ok, result
end

function Standin:run_game_thread()
    if self.stalled then
        return
    end
    local queue = self.gameThreadQueue
    self.gameThreadQueue = {}
    self.onGameThread = true
    for _, callback in ipairs(queue) do
        self:call(callback)
    end
    self.onGameThread = false
end

-- The loop that falls due first, at `ms` at the latest.
function Standin:next_due(ms)
    local nextLoop = nil
    for _, loop in ipairs(self.loops) do
        if loop.due <= ms and (nextLoop == nil or loop.due < nextLoop.due) then
            nextLoop = loop
        end
    end
    return nextLoop
end

-- Moves the clock to `ms`, running every loop that falls due on the way (off the game thread), each
-- followed by the game thread's turn: at once when another loop is due before `ms`, else at `ms`, so a
-- caller that advances to the present runs game-thread work at the present. A loop ends when its
-- callback returns true or raises.
function Standin:advance_to(ms)
    while true do
        local nextLoop = self:next_due(ms)
        if nextLoop == nil then
            break
        end
        self.now = nextLoop.due
        local ok, finished = self:call(nextLoop.callback)
        if ok and finished ~= true then
            nextLoop.due = nextLoop.due + nextLoop.period
        else
            for i, loop in ipairs(self.loops) do
                if loop == nextLoop then
                    table.remove(self.loops, i)
                    break
                end
            end
        end
        if self:next_due(ms) == nil then
            self.now = math.max(self.now, ms)
        end
        self:run_game_thread()
    end
    self.now = math.max(self.now, ms)
    self:run_game_thread()
end

-- A map change: new world, controller and pawn objects, then the load-map hooks on the game thread.
function Standin:load_map(mapName)
    self.mapName = mapName
    self:new_world()
    self.onGameThread = true
    for _, hook in ipairs(self.loadMapHooks) do
        self:call(hook, {}, self.world)
    end
    self.onGameThread = false
end

-- While stalled (a map loading), the game thread runs nothing that was queued for it.
function Standin:stall_game_thread(stalled)
    self.stalled = stalled
end

return Standin
