-- What failed where in the last day: the gravest first. 255 is a severity without a name.
SELECT
    host,
    class,
    device_id,
    severity,
    message,
    count() AS times,
    max(time) AS last
FROM vesk.events FINAL
WHERE time > now() - 86400 AND severity_code >= 5
GROUP BY host, class, device_id, severity, severity_code, message
ORDER BY severity_code DESC, last DESC, host
FORMAT PrettyCompactMonoBlock
