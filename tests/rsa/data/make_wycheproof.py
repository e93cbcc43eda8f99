#!/usr/bin/env python3
"""Converts the Project Wycheproof RSA vector files that fit this library into wycheproof_rsa.txt.

Usage: make_wycheproof.py WYCHEPROOF_DIR > wycheproof_rsa.txt

Kept: PKCS #1 v1.5 decryption and signatures, OAEP with SHA-1 and MGF1-SHA-1, PSS with SHA-1,
SHA-256, SHA-384 and SHA-512 (hash and mask hash), moduli up to 2400 bits.
Line formats (hex fields, '-' for empty):
  key ID n e d p q dP dQ qInv           (private fields '-' for public keys)
  KIND ID FILE:TCID RESULT HASH MGF SLEN MSG DATA LABEL
KIND is pkcs1dec, pkcs1sig, pkcs1gen (signing is deterministic: DATA is the signature), oaep, pss;
RESULT v (valid), i (invalid) or a (acceptable).
"""
import json
import os
import sys

HASHES = {'SHA-1': 1, 'SHA-256': 6, 'SHA-384': 7, 'SHA-512': 8}
FILES = ['rsa_pkcs1_2048_test.json', 'rsa_signature_2048_sha256_test.json',
         'legacy_rsa_signature_test.json', 'rsa_pkcs1_1024_sig_gen_test.json',
         'rsa_pkcs1_2048_sig_gen_test.json', 'legacy_rsa_sig_gen_misc_test.json',
         'rsa_oaep_2048_sha1_mgf1sha1_test.json', 'rsa_oaep_misc_test.json',
         'rsa_pss_2048_sha1_mgf1_20_test.json', 'rsa_pss_2048_sha256_mgf1_0_test.json',
         'rsa_pss_2048_sha256_mgf1_32_test.json', 'rsa_pss_2048_sha256_mgf1sha1_20_test.json',
         'rsa_pss_2048_sha384_mgf1_48_test.json', 'rsa_pss_misc_test.json']


def h(x):
    x = (x or '').lower()
    if x and len(x) % 2:
        x = '0' + x
    return x or '-'


def main(root):
    keys = {}
    out = []

    def key_id(fields):
        t = tuple(h(f) for f in fields)
        if t not in keys:
            keys[t] = len(keys)
        return keys[t]

    for name in FILES:
        data = json.load(open(os.path.join(root, name)))
        schema = data['schema']
        for g in data['testGroups']:
            bits = g.get('keySize', g.get('keysize', 0))
            sha = g.get('sha', 'SHA-1')
            if bits > 2400 or sha not in HASHES or g.get('mgfSha', sha) not in HASHES:
                continue
            pk = g.get('privateKey') or {}
            pub = g.get('publicKey') or {}
            n = pk.get('modulus') or pub.get('modulus') or g.get('n')
            e = pk.get('publicExponent') or pub.get('publicExponent') or g.get('e')
            d = pk.get('privateExponent') or g.get('d')
            kid = key_id([n, e, d, pk.get('prime1'), pk.get('prime2'), pk.get('exponent1'),
                          pk.get('exponent2'), pk.get('coefficient')])
            if 'pkcs1_decrypt' in schema:
                kind = 'pkcs1dec'
            elif 'oaep' in schema:
                if sha != 'SHA-1' or g['mgfSha'] != 'SHA-1':
                    continue
                kind = 'oaep'
            elif 'pss' in schema:
                kind = 'pss'
            elif 'generate' in schema or 'sig_gen' in name:
                kind = 'pkcs1gen'
            else:
                kind = 'pkcs1sig'
            for t in g['tests']:
                data_hex = t.get('ct') or t.get('sig')
                out.append(' '.join([kind, str(kid), '%s:%d' % (name.replace('_test.json', ''), t['tcId']),
                                     t['result'][0], str(HASHES[sha]), str(HASHES[g.get('mgfSha', sha)]),
                                     str(g.get('sLen', 0)), h(t['msg']), h(data_hex), h(t.get('label'))]))
    print('# Project Wycheproof (https://github.com/C2SP/wycheproof), Apache-2.0; converted from the')
    print('# testvectors_v1 files named in each line (copies in /work/shared/vectors/wycheproof)')
    print('# by make_wycheproof.py.')
    for fields, kid in sorted(keys.items(), key=lambda kv: kv[1]):
        print('key', kid, ' '.join(fields))
    print('\n'.join(out))


main(sys.argv[1])
