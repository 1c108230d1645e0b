-- wrk script of bench/server_bench.py: one CIM-XML request sent over and
-- over, every answer checked against the one expected.
--
--   wrk ... -s bench/server_bench.lua URL -- REQUEST_FILE METHOD ANSWER_FILE
--
-- REQUEST_FILE holds the CIM-XML body, METHOD the CIM method it calls (its
-- CIMMethod header), ANSWER_FILE the body the server answered it with before
-- the run. An answer is right when its status is 200 and its body is those
-- bytes; the others are counted as not 200, CIM errors (a body holding
-- <ERROR) or other bodies. Answers after which the server closes the
-- connection (Connection: close, or a body that ends with the connection)
-- are counted too: wrk opens a new connection for the next request.
--
-- done() prints one line that the Python script reads:
--   server_bench: requests=N duration_us=N p50_us=N p99_us=N not200=N
--   cimerror=N otherbody=N closed=N connect=N read=N write=N timeout=N

local threads = {}

local function slurp(name)
   local file = assert(io.open(name, "rb"))
   local text = file:read("*a")
   file:close()
   return text
end

function setup(thread)
   table.insert(threads, thread)
end

function init(args)
   wrk.method = "POST"
   wrk.body = slurp(args[1])
   wrk.headers["Content-Type"] = 'application/xml; charset="utf-8"'
   wrk.headers["CIMOperation"] = "MethodCall"
   wrk.headers["CIMMethod"] = args[2]
   wrk.headers["CIMObject"] = "root/cimv2"
   expected = slurp(args[3])
   not200, cimerror, otherbody, closed = 0, 0, 0, 0
end

function response(status, headers, body)
   if status ~= 200 then
      not200 = not200 + 1
   elseif body ~= expected then
      if body:find("<ERROR", 1, true) then
         cimerror = cimerror + 1
      else
         otherbody = otherbody + 1
      end
   end
   -- Framed answers carry Content-Length or chunked Transfer-Encoding;
   -- one with neither ends with the connection.
   local framed, close = false, false
   for name, value in pairs(headers) do
      local lower = name:lower()
      if lower == "content-length" then
         framed = true
      elseif lower == "transfer-encoding" and value:lower():find("chunked", 1, true) then
         framed = true
      elseif lower == "connection" and value:lower():find("close", 1, true) then
         close = true
      end
   end
   if close or not framed then
      closed = closed + 1
   end
end

function done(summary, latency, requests)
   local totals = {not200 = 0, cimerror = 0, otherbody = 0, closed = 0}
   for _, thread in ipairs(threads) do
      for name, _ in pairs(totals) do
         totals[name] = totals[name] + thread:get(name)
      end
   end
   local e = summary.errors
   io.write(string.format(
      "server_bench: requests=%d duration_us=%d p50_us=%d p99_us=%d not200=%d cimerror=%d otherbody=%d " ..
      "closed=%d connect=%d read=%d write=%d timeout=%d\n",
      summary.requests, summary.duration, latency:percentile(50), latency:percentile(99), totals.not200,
      totals.cimerror, totals.otherbody, totals.closed, e.connect, e.read, e.write, e.timeout))
end
