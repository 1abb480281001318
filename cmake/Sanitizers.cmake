# ZVK_SANITIZE: the sanitizers that everything is built with, as -fsanitize takes them.
set(ZVK_SANITIZE "" CACHE STRING "Sanitizers to build with, for instance address,undefined")
if(ZVK_SANITIZE)
  add_compile_options(-fsanitize=${ZVK_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZVK_SANITIZE})
endif()
