# Writes a manifest of n entries (awk -v n=N -f bench/manifest.awk): utilities, shared functions,
# types, data and constants in turn, every one with a key of its own.
BEGIN {
  for (i = 0; i < n; i++) {
    key = "\"ChecksumElement1\": " i ", \"ChecksumElement2\": 1, \"ChecksumElement3\": 2, \"ChecksumElement4\": 3"
    kind = i % 5
    if (kind == 0)
      printf "{\"identity\": {\"class\": \"BasicUtilityIdentity\", \"UtilityIdentifier\": \"rt_util_%d\"}, \"data\": {\"class\": \"BasicUtilityData\", \"Name\": \"rt_util_%d\", \"Identifier\": \"rt_util_%d\", \"ModelNames\": [\"model_%d\"], \"Traceability\": [\"model_%d:Subsystem/Block%d\"]}}\n", i, i, i, i % 300, i % 300, i
    else if (kind == 1)
      printf "{\"identity\": {\"class\": \"SharedFunctionIdentity\", %s}, \"data\": {\"class\": \"SharedFunctionData\", \"Name\": \"fn_%d\", \"FunctionName\": \"fn_%d\", \"FileName\": \"fn_%d.c\"}}\n", key, i, i, i
    else if (kind == 2)
      printf "{\"identity\": {\"class\": \"SharedTypesIdentity\", %s}, \"data\": {\"class\": \"SharedTypesData\", \"Name\": \"T_%d\", \"Kind\": \"SCM_SHARED_TYPES\", \"FileName\": \"shared_types.h\", \"Definition\": \"typedef struct { real32_T a; int32_T b; } T_%d;\"}}\n", key, i, i
    else if (kind == 3)
      printf "{\"identity\": {\"class\": \"SharedDataIdentity\", %s}, \"data\": {\"class\": \"SharedData\", \"Name\": \"g_%d\", \"Kind\": \"SCM_SHARED_DATA_DEFINITION\", \"FileName\": \"shared_data.c\", \"Definition\": \"real32_T g_%d = 0.0F;\"}}\n", key, i, i
    else
      printf "{\"identity\": {\"class\": \"SharedConstantsIdentity\", %s}, \"data\": {\"class\": \"SharedConstantsData\", \"Name\": \"K_%d\", \"InitialString\": \"%d\", \"DataType\": \"int32_T\", \"GenerateConstant\": true}}\n", key, i, i
  }
}
