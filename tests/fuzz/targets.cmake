# The fuzz targets: NAME.cpp, NAME.seeds and optionally NAME.dict.
set(fuzz_targets calls convert diff expr filter glob json lookup merge msgpack node_stream)
