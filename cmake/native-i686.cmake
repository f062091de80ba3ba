# build/native32: the portable core and its tests as 32-bit Linux programs
# (g++-multilib), so that every rule of the add-in runs at the product's sizes:
# 4-byte pointers, size_t and long, and x87 floating point with its excess
# precision, as the i686 DLL has them. The Windows runtime's time_t and file
# offsets are 64 bits wide whatever the pointer size; glibc's are asked for the same.
# The machine runs the programs itself, so ctest needs no emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_C_FLAGS_INIT "-m32 -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64")
set(CMAKE_CXX_FLAGS_INIT "-m32 -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64")
set(CMAKE_EXE_LINKER_FLAGS_INIT -m32)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -m32)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -m32)
