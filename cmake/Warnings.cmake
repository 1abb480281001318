# The warnings that every target of ours is built with.
add_library(zvk_warnings INTERFACE)
target_compile_options(zvk_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${ZVK_WERROR}>:-Werror>)
