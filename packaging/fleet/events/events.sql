-- The store: an event is the same one if host, number and time are the same. The number alone does
-- not do, as a replaced controller counts anew. Repeats vanish when ClickHouse merges, and at once
-- from what is selected with FINAL.
CREATE TABLE vesk.events (
    host String,
    sequence UInt32,
    time_raw UInt32,
    class String,
    code UInt32,
    severity String,
    severity_code UInt8,
    device_id UInt16,
    message String,
    time DateTime MATERIALIZED toDateTime(time_raw),
    received DateTime MATERIALIZED now()
)
ENGINE = ReplacingMergeTree
PARTITION BY toYYYYMM(toDateTime(time_raw))
ORDER BY (host, sequence, time_raw)
