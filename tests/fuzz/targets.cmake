# The fuzz targets: NAME.cpp, NAME.seeds and perhaps NAME.dict.
set(fuzz_targets calls diff expr filter glob json lookup merge msgpack)
