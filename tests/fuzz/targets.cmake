# The fuzz targets: NAME.cpp, NAME.seeds and perhaps NAME.dict.
set(fuzz_targets calls convert diff expr filter glob json lookup merge msgpack node_stream)
