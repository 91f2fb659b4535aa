# A Homebrew formula for the volume explorer. NOT RUN: this was written without a Mac and without Homebrew.
# What is missing is marked with TODO.
class VolumeExplorer < Formula
  desc "Read BitLocker-encrypted disks and get files back"
  # TODO: where the project and its archives are published.
  homepage "https://volume-explorer.invalid/"
  url "https://volume-explorer.invalid/volume-explorer-1.0.0.tar.gz"
  # TODO: the sum that scripts/release writes beside the archive.
  sha256 "0000000000000000000000000000000000000000000000000000000000000000"
  license "MIT"

  depends_on "cmake" => :build
  depends_on "ninja" => :build
  # Without it there is no Volume Host.
  depends_on "nlohmann-json" => :build
  # ibtool and iconutil.
  depends_on xcode: :build
  depends_on arch: :x86_64
  depends_on :macos
  depends_on "openssl@3"
  depends_on "zstd"

  uses_from_macos "zlib"

  def install
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DBUILD_TESTING=OFF",
           "-DCMAKE_BUILD_TYPE=Release", "-DVX_IMAGE_VOLUMES=REQUIRED", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  test do
    (testpath/"volume/file.txt").write "text"
    system bin/"volume-export", "--to", testpath/"copy", testpath/"volume"
    assert_equal "text", (testpath/"copy/file.txt").read
  end
end
