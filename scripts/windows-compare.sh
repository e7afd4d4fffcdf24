#!/usr/bin/env bash
# windows-compare.sh I386-ROOT: fails unless the DLLs for x86-64 and x86 and the Linux library make the same signature,
# byte for byte, from the same PFX and content. The C example signs on each side; on Windows it is once made by MinGW,
# and once linked as Microsoft's toolchain does: by lld-link, with the import library ZEPASignDLL.lib and the Universal C
# Runtime, which is not the runtime of the DLL. The tool signs as well. The property file has the line ends and
# backslashes of Windows. The x86 programs run in the i386 root.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/certificate.sh
source scripts/quietly.sh
scripts=$PWD/scripts root=$1 work=$1/compare
mkdir "$work"

# withoutMessages COMMAND...: shows what the command says beside its result only when it fails.
withoutMessages() { "$@" 2>"$work/messages" || { cat "$work/messages" >&2; exit 1; }; }

# makeHosts PROCESSOR: into the directory PROCESSOR, beside the DLL and the tool.
makeHosts() {
  local directory=$work/$1 built=build/windows-$1 system=/usr/$1-w64-mingw32/lib
  mkdir "$directory"
  cp "$built/api/ZEPASignDLL.dll" "$built/tools/zepasign.exe" "$directory"
  "$1-w64-mingw32-gcc-posix" -Iapi "${example[@]}" examples/c/platform_windows.c -o "$directory/mingw.exe" -L"$built/api" \
    -lZEPASignDLL -lcrypt32
  for file in "${example[@]}" examples/c/platform_windows.c scripts/windows-crt.c; do
    clang "--target=$1-w64-windows-gnu" -D_UCRT -D__USE_MINGW_ANSI_STDIO=0 -fno-builtin -mno-stack-arg-probe -Iapi -c \
      "$file" -o "$directory/$(basename "$file" .c).obj"
  done
  lld-link /nologo /subsystem:console /entry:mainCRTStartup /safeseh:no "/out:$directory/microsoft.exe" "$directory"/*.obj \
    "$built/api/ZEPASignDLL.lib" "$system"/lib{ucrtbase,kernel32,crypt32}.a
}
# run PROCESSOR PROGRAM ARGUMENT...: in the directory with keys and content.
run() { withoutMessages "$scripts/windows-run.sh" "$root" /compare "$1" "$1/$2.exe" "${@:3}"; }

quietly cmake --preset dev --log-level=WARNING
quietly cmake --build --preset dev --target ZEPASignDLL
example=(examples/c/main.c examples/c/signer.c)
gcc -Iapi "${example[@]}" examples/c/platform_posix.c -o "$work/sign" -Lbuild/dev/api -lZEPASignDLL -lcrypto \
  -Wl,-rpath,"$PWD/build/dev/api"
makeHosts x86_64
makeHosts i686

cd "$work"
mkdir keys
certificate signer keyUsage=digitalSignature
quietly openssl pkcs12 -export -legacy -inkey signer.key -in signer.pem -passout pass:secret -out keys/signer.pfx
openssl rand -out content 100000
sed 's/$/\r/' >windows.properties <<'EOF'
LOG.level = INFO
LOG.path = logs\
LOG.file = windows
PKCS7.digest = SHA256
PKCS7.addCert = 1
PKCS7.addPlainText = TRUE
PSWD.license = 00112233445566778899AABBCCDDEEFF00112233445566778899AABBCCDDEEFF
PFX.path = keys\
PFX.file = signer.pfx
PFX.pswd = secret
EOF
sed 's/\r//; s#\\#/#; s/windows/linux/' windows.properties >linux.properties
withoutMessages ./sign linux.properties content >linux.b64
for processor in x86_64 i686; do
  for host in mingw microsoft; do
    run "$processor" "$host" windows.properties content | diff --strip-trailing-cr linux.b64 -
  done
  run "$processor" zepasign sign -c windows.properties -o - content |
    diff --strip-trailing-cr <(head -n 1 linux.b64) -
done
echo "windows-compare.sh: the signatures of the three libraries are equal ($(wc -c <linux.b64) bytes)"
