# The Debian 12 packages that the commands need, one list for each purpose. nodejs and npm are left out: machines that
# have these from elsewhere keep theirs, see prepare in setup.sh.

build_packages=(
  build-essential cmake ninja-build pkgconf ca-certificates
  libxnnpack-dev libpthreadpool-dev libflatbuffers-dev flatbuffers-compiler # engine and nn
  libvips-dev libcli11-dev nlohmann-json3-dev                               # photo, codec, cli
  libboost-dev zlib1g-dev                                                   # server
  libseccomp-dev                                                            # server/children
  libcurl4-openssl-dev libssl-dev                                           # worker
  pybind11-dev python3-dev                                                  # python
  librabbitmq-dev                                                           # queue/amqp
)

bench_packages=(libbenchmark-dev libopencv-dev)
container_packages=(buildah mmdebstrap dpkg-dev file curl) # packaging/container.sh
cluster_packages=(slurmctld slurmd slurm-client munge) # tests/cluster
training_packages=(python3-torch python3-numpy) # the weights of the network of hair

# The build for the browser; the page's own tools besides. What it links comes from sources, see
# scripts/targets/wasm_deps.sh.
wasm_packages=(
  emscripten cmake ninja-build dpkg-dev
  flatbuffers-compiler libflatbuffers-dev libfxdiv-dev libcli11-dev nlohmann-json3-dev # headers alone
)

# The library on other targets, and what runs it there.
target_packages=(
  build-essential cmake ninja-build
  g++-aarch64-linux-gnu libc6-dev-arm64-cross qemu-user-static libgtest-dev # 64-bit ARM; the tests' library by its source
  g++-mingw-w64-x86-64-posix wine64                                         # Windows
  emscripten                                                                # browsers
)

# The program for 64-bit ARM, and the libraries of that processor, which are unpacked into a folder.
arm64_packages=(g++-aarch64-linux-gnu libc6-dev-arm64-cross qemu-user-static mmdebstrap curl)
arm64_libraries=(
  libc6-dev libstdc++-12-dev
  libxnnpack-dev libpthreadpool-dev libflatbuffers-dev libvips-dev libcli11-dev nlohmann-json3-dev
  libboost-dev zlib1g-dev libseccomp-dev libcurl4-openssl-dev libssl-dev librabbitmq-dev
)

# The build for Windows and wine, which runs its tests. What it links comes from sources too, see
# scripts/targets/windows_deps.sh.
windows_packages=(
  g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev wine64 cmake ninja-build meson pkgconf dpkg-dev patch zip unzip
  nasm libglib2.0-dev-bin # tools for libjpeg-turbo and GLib
  libvips-tools           # the tests' photographs in other formats
  flatbuffers-compiler libflatbuffers-dev libfxdiv-dev libcli11-dev nlohmann-json3-dev # headers alone
)

browser_packages=(chromium) # shows the page to its tests, and for its picture

# The benchmarks are compiled, not run, with the tests.
test_packages=(
  libgtest-dev libgmock-dev
  clang-14 libclang-rt-14-dev # second compiler, libFuzzer
  python3-numpy python3-pytest mypy python3-wheel python3-pip # the Python module, its types and its wheel
  python3-dask python3-distributed python3-pandas python3-matplotlib # its example programs
  python3 python3-jsonschema  # make the colour table again, hold papers and reports against the program
  mandoc zsh                  # check the man pages, complete as a user's shell does
  curl                        # the calls of docs/http.md, as they stand there
  debootstrap dpkg-dev file   # make Debian packages, and a bare Debian to install them in
  libvips-tools               # converts photographs for the example program
  rabbitmq-server openssl     # queues on servers that are killed and frozen, with certificates of their own
  iproute2                    # and cut off from each other, in network namespaces
  systemd                     # weighs the restrictions of the unit; need not run
  "${bench_packages[@]}"
  "${browser_packages[@]}"
)
