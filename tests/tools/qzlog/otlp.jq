# Whether a value is what OTLP says for logs, in the mapping of protocol buffers to JSON: names in camel case, integers
# of 64 bits as texts, enumerations as numbers, IDs of traces and spans in hexadecimal digits.
def messages:
    {
        LogsData: {resourceLogs: ["ResourceLogs"]},
        ResourceLogs: {resource: "Resource", scopeLogs: ["ScopeLogs"], schemaUrl: "string"},
        Resource: {attributes: ["KeyValue"], droppedAttributesCount: "uint32"},
        ScopeLogs: {scope: "Scope", logRecords: ["LogRecord"], schemaUrl: "string"},
        Scope: {name: "string", version: "string", attributes: ["KeyValue"], droppedAttributesCount: "uint32"},
        LogRecord: {timeUnixNano: "fixed64", observedTimeUnixNano: "fixed64", severityNumber: "severity",
            severityText: "string", body: "AnyValue", attributes: ["KeyValue"], droppedAttributesCount: "uint32",
            flags: "uint32", traceId: "trace", spanId: "span", eventName: "string"},
        KeyValue: {key: "string", value: "AnyValue"},
        AnyValue: {stringValue: "string", boolValue: "boolean", intValue: "int64", doubleValue: "number"}
    };

def is_text_of($expression): type == "string" and test("^(?:" + $expression + ")$");

def is_scalar($kind):
    if $kind == "fixed64" then is_text_of("0|[1-9][0-9]{0,19}")
    elif $kind == "int64" then is_text_of("0|-?[1-9][0-9]{0,18}")
    elif $kind == "uint32" then type == "number" and . >= 0 and . == floor
    elif $kind == "severity" then type == "number" and . >= 0 and . <= 24 and . == floor
    elif $kind == "trace" then is_text_of("[0-9a-f]{32}") and test("[^0]")
    elif $kind == "span" then is_text_of("[0-9a-f]{16}") and test("[^0]")
    else type == $kind
    end;

def is_otlp($kind):
    if ($kind | type) == "array" then type == "array" and all(.[]; is_otlp($kind[0]))
    elif messages[$kind] == null then is_scalar($kind)
    else type == "object" and all(to_entries[]; messages[$kind][.key] as $field
        | $field != null and (.value | is_otlp($field)))
    end
    and ($kind != "AnyValue" or length == 1)
    and ($kind != ["KeyValue"] or all(.[]; .key != "" and .value != null) and (map(.key) | unique | length) == length);
