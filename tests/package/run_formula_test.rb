# SPDX-License-Identifier: MIT
#
# Runs the test block of a Homebrew formula where there is no Homebrew, on an installed tree.
#
# usage: ruby run_formula_test.rb FORMULA PREFIX

require "pathname"
require "tmpdir"

FORMULA, PREFIX = ARGV
ENV["PKG_CONFIG_PATH"] = "#{PREFIX}/lib/pkgconfig"

# What the formula says of itself is passed over, but for its test. These are the helpers that it uses.
class Formula
  class << self
    attr_reader :test_block

    def test(&block)
      @test_block = block
    end

    %i[desc homepage url sha256 license depends_on uses_from_macos].each do |name|
      define_method(name) { |*| nil }
    end
  end

  attr_reader :testpath

  def initialize(testpath)
    @testpath = testpath
  end

  def bin
    Pathname.new(PREFIX) / "bin"
  end

  def shell_output(command)
    output = `#{command}`
    $?.success? ? output : raise("#{command}: #{$?}")
  end

  def system(*arguments)
    Kernel.system(*arguments) || raise("#{arguments.join(" ")}: #{$?}")
  end

  def assert_match(expected, text)
    text.to_s.include?(expected) || raise("#{expected.inspect} is not in #{text.inspect}")
  end

  def assert_equal(expected, actual)
    expected == actual || raise("#{actual.inspect} is not #{expected.inspect}")
  end
end

def ENV.cc
  fetch("CC", "cc")
end

load FORMULA
Dir.mktmpdir do |folder|
  Dir.chdir(folder) { Vqxclient.new(Pathname.new(folder)).instance_exec(&Vqxclient.test_block) }
end
puts "The formula's test has passed."
