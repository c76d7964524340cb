// SPDX-License-Identifier: MIT

// A document without a mistake, for tests that make one.
#pragma once

/// One item a line, so that tests can name the lines. It uses all that it has.
inline constexpr const char kBaseDocument[] = R"(<?xml version="1.0"?>
<layers>
  <layer type="0"><p>1</p><p>0.5</p><p>0</p></layer>
</layers>
<textures>
  <texture><layer type="101" id="0"><p>1</p><p>1</p></layer></texture>
</textures>
<models>
  <model filename="square.model"/>
</models>
<envelopes>
  <envelope type="0" loop_type="0" loop_begin="0" loop_end="0">
    <piece type="1" length="200"><p>0.01</p><p>1</p></piece>
  </envelope>
</envelopes>
<lights>
  <light>
    <ambient><r type="static" value="0"/><g type="static" value="0"/><b type="static" value="0"/></ambient>
    <diffuse><r type="static" value="1"/><g type="static" value="1"/><b type="static" value="1"/></diffuse>
    <position><x type="static" value="1"/><y type="dynamic" value="1"/><z type="static" value="1"/></position>
  </light>
</lights>
<effects>
  <effect name="rotate" type="3" resolution="64x64" bpp="24"><p>1</p></effect>
</effects>
<bitmaps>
  <bitmap filename="alpha.tga"/>
</bitmaps>
<materials>
  <material type="1"><p type="static" value="1"/><p type="static" value="1"/><p type="static" value="1"/><p type="static" value="1"/><light value="1"/></material>
  <material type="2"><p type="static" value="1"/><p type="static" value="1"/><p type="static" value="1"/><p type="dynamic" value="1"/><texture value="1"/></material>
  <material type="6"><p type="static" value="1"/><p type="static" value="1"/><p type="static" value="1"/><p type="static" value="1"/><effect2d value="1"/></material>
  <material type="15"><p type="static" value="1"/><p type="static" value="1"/><p type="static" value="1"/><texture value="1"/></material>
</materials>
<genmeshes>
  <genmesh type="1"><p>1</p></genmesh>
</genmeshes>
<scenes>
  <scene name="hall">
    <object type="0" object="1" material="1">
      <x type="static" value="0"/><y type="static" value="0"/><z type="static" value="0"/>
      <rx type="static" value="0"/><ry type="static" value="0"/><rz type="static" value="0"/>
      <sx type="static" value="1"/><sy type="static" value="1"/><sz type="static" value="1"/>
      <visible value="1"/><shift value="0"/>
      <manipulator type="2"><p type="static" value="0"/><p type="static" value="0.1"/><p type="static" value="1"/></manipulator>
    </object>
    <object type="1" object="1" material="2">
      <x type="static" value="0"/><y type="static" value="0"/><z type="static" value="0"/>
      <rx type="static" value="0"/><ry type="static" value="0"/><rz type="static" value="0"/>
      <sx type="static" value="1"/><sy type="static" value="1"/><sz type="static" value="1"/>
      <visible value="0"/><shift value="0"/>
    </object>
    <object type="0" object="1" material="3">
      <x type="static" value="0"/><y type="static" value="0"/><z type="static" value="0"/>
      <rx type="static" value="0"/><ry type="static" value="0"/><rz type="static" value="0"/>
      <sx type="static" value="1"/><sy type="static" value="1"/><sz type="static" value="1"/>
      <visible value="0"/><shift value="0"/>
    </object>
    <object type="0" object="1" material="4">
      <x type="static" value="0"/><y type="static" value="0"/><z type="static" value="0"/>
      <rx type="static" value="0"/><ry type="static" value="0"/><rz type="static" value="0"/>
      <sx type="static" value="1"/><sy type="static" value="1"/><sz type="static" value="1"/>
      <visible value="0"/><shift value="0"/>
    </object>
  </scene>
</scenes>
<timeline>
  <row>
    <clip id="1" space_before="0" length="100" offset="0" type="3">
      <x type="static" value="0"/><y type="static" value="0"/><z type="static" value="-5"/>
      <rx type="static" value="0"/><ry type="static" value="0"/><rz type="static" value="0"/>
      <fov type="static" value="60"/>
      <fog type="0"/>
    </clip>
  </row>
</timeline>
<music file="song.xm"/>
)";
